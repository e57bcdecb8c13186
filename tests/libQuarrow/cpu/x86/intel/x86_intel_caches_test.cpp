#include <gtest/gtest.h>
#include <tests/support/CacheTexts.h>
#include <tests/support/IntelProcessor.h>

#include <string>

using namespace libQuarrow::cpu;
using testing_support::IntelMachine;
using testing_support::IntelProcessor;

namespace {

std::string cachesOf(const IntelProcessor& processor) {
    const IntelMachine intel(processor);
    x86_caches caches;
    const bool found = intel.info.getCaches(caches);
    EXPECT_EQ(found, !caches.isEmpty());
    return testing_support::textOf(caches);
}

std::string times(std::size_t count, const std::string& cache) {
    return zel::String::repeat(", " + cache, count).subString(2).toUtf8();
}

// Leaf 4 of a Core i7-4770: 32 KB L1 of each kind, 256 KB L2, 8 MB L3; leaf 2 names a prefetcher and TLBs besides.
IntelProcessor haswell() {
    return IntelProcessor(0x306C3)
        .leaf(2, {0x76036301, 0x00F0B5FF, 0, 0x00C10000})
        .leaf(4, {0x1C004121, 0x01C0003F, 0x3F, 0}, 0)
        .leaf(4, {0x1C004122, 0x01C0003F, 0x3F, 0}, 1)
        .leaf(4, {0x1C004143, 0x01C0003F, 0x1FF, 0}, 2)
        .leaf(4, {0x1C03C163, 0x03C0003F, 0x1FFF, 6}, 3);
}

TEST(x86_intel_caches, come_from_leaves_4_and_2_and_0x80000006) {
    const auto leaf4 = [](const cpuid_args& registers) { return IntelProcessor(0x306C3).leaf(4, registers); };
    const auto leaf2 = [](const cpuid_args& registers) { return IntelProcessor(0x6D6).maxLeaf(2).leaf(2, registers); };
    const auto extended = [](IntelProcessor processor, std::uint32_t ecx) {
        return processor.leaf(0x80000000, {0x80000006, 0, 0, 0}).leaf(0x80000006, {0, 0, ecx, 0});
    };
    IntelProcessor endless = leaf4({0x00000024, 0x0040003F, 0, 0}); // and its first sub-leaf is of an unknown type
    for (std::uint32_t subleaf = 1; subleaf < 1000; ++subleaf) {
        endless.leaf(4, {0x00000021, 0x0040003F, 0, 0}, subleaf);
    }
    const IntelProcessor dothan = leaf2({0x02B3B001, 0xF0, 0, 0x2C04307D}); // Pentium M 745
    const IntelProcessor shared = IntelProcessor(0x6F6).leaf(2, {0x007B6601, 0, 0, 0});
    const std::string l1 = "L1D 8192/64 4 x1";   // 0x66
    const std::string l2 = "L2U 524288/64 8 x1"; // 0x7B
    const struct {
        const char* what;
        IntelProcessor processor;
        std::string caches;
    } cases[] = {
        {"a trace cache (0x70) comes from leaf 2 all the same, the L2 there (0x7A) does not",
         haswell().leaf(2, {0x007A7001, 0, 0, 0}),
         "L1D 32768/64 8 x2, L1I 32768/64 8 x2, L1T 12288 uops/0 8 x1, L2U 262144/64 8 x2, L3U 8388608/64 16 x16"},
        // Leaf 4 EAX: type 4 to 0, level 7 to 5, fully associative 9, sharing 25 to 14. EBX: ways, partitions, line.
        {"one way is unknown, not direct mapped", leaf4({0x21, 0x3F, 0x3F, 0}), "L1D 4096/64 Unknown x1"},
        {"fully associative", leaf4({0x221, 0x3F, 0x3F, 0}), "L1D 4096/64 Fully x1"},
        {"4 partitions", leaf4({0x83, 0x0040303F, 1, 0}), "L4U 1024/64 2 x1"},
        {"level 5", leaf4({0xA2, 0x0040003F, 0, 0}), "UnknownI 128/64 2 x1"},
        {"2^32 bytes per set leave nothing of 32 bits", leaf4({0x03FFC023, 0xFFFFFFFF, 0, 0}), "L1U 0/4096 1024 x4096"},
        {"one way less: all sets count", leaf4({0x23, 0xFFBFFFFF, 0xFFFFFFFF, 0}),
         "L1U 18428729675200069632/4096 1023 x1"},
        {"a list without an end", endless, times(63, "L1D 128/64 2 x1")},
        {"descriptors", dothan, "L1D 32768/64 8 x1, L1I 32768/64 8 x1, L2U 2097152/64 8 x1"},
        {"L2 by the extended leaf", extended(dothan, 0x04008040),
         "L1D 32768/64 8 x1, L1I 32768/64 8 x1, L2U 1048576/64 16 x1"},
        {"an L3 by descriptor (0x23) beside it", extended(leaf2({0x7B2301, 0, 0, 0}), 0x04008040),
         "L2U 1048576/64 16 x1, L3U 1048576/64 8 x1"},
        {"no leaf at all", IntelProcessor(0x663).maxLeaf(1), ""},
        {"no descriptors of caches: 0x01, 0x40, 0xFF", leaf2({0x450E0601, 0x0172E44E, 0x0000FF40, 0}),
         "L1D 24576/64 6 x1, L1I 8192/32 4 x1, L1T 32768 uops/0 8 x1, L2U 2097152/32 4 x1, L2U 6291456/64 24 x1, "
         "L3U 8388608/64 16 x1"},
        // Bit 31 of register k modulo 4 decides over byte k.
        {"0x66 is byte 2, which ECX decides, and not EAX, where it stands", leaf2({0x00665B01, 0, 0xF0000000, 0}), ""},
        {"EAX decides over none of its own bytes", leaf2({0xF0667B01, 0, 0, 0}), l1 + ", " + l2},
        {"EBX takes byte 9", leaf2({0x00007B01, 0xF0000000, 0x00006600, 0}), ""},
        {"EBX leaves byte 8", leaf2({0x00007B01, 0xF0000000, 0x00000066, 0}), l1},
        {"byte 0 (0x06) is the count, byte 4 a descriptor", leaf2({0x06, 0x7B, 0, 0}), times(6, l2)},
        {"a count of 0 is one execution", leaf2({0, 0, 0, 0x7B66}), l1 + ", " + l2},
        // Who shares a cache of leaf 2 is told by the counts of the package.
        {"one core", IntelProcessor(shared).counts(1, 2), "L1D 8192/64 4 x2, L2U 524288/64 8 x2"},
        {"two cores", IntelProcessor(shared).counts(2, 4), "L1D 8192/64 4 x2, L2U 524288/64 8 x0"},
        {"fewer threads than cores", IntelProcessor(shared).counts(4, 2), "L1D 8192/64 4 x0, L2U 524288/64 8 x0"},
        {"leaf 0xB with a thread level alone leaves the cores at 0: nobody can tell",
         IntelProcessor(shared).maxLeaf(0xB).counts(2, 4).leaf(0xB, {1, 2, 0x100, 0}),
         "L1D 8192/64 4 x0, L2U 524288/64 8 x0"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        EXPECT_EQ(cachesOf(test.processor), test.caches);
    }
    const char* const codes[] = {"Unknown", "Direct",  "2",       "Unknown", "4",       "Unknown", "8",       "Unknown",
                                 "16",      "Unknown", "Unknown", "Unknown", "Unknown", "Unknown", "Unknown", "Fully"};
    for (std::uint32_t code = 0; code < 16; ++code) {
        EXPECT_EQ(cachesOf(extended(IntelProcessor(0x6D6), 0x80000000 | code << 12)),
                  "L2U 33554432/0 " + std::string(codes[code]) + " x1");
    }
}

TEST(x86_intel_caches, of_a_single_leaf_replace_or_append) {
    const IntelMachine intel(haswell().leaf(0x80000000, {0x80000006, 0, 0, 0}).leaf(2, {0x007A7001, 0, 0, 0}));
    zel::Array<x86_cache> caches{x86_cache(), x86_cache()};
    EXPECT_TRUE(intel.info.getCacheAndTLBInfo(caches));
    EXPECT_EQ(caches.size(), 4u);
    EXPECT_TRUE(intel.info.getL2CacheInfo(caches));
    EXPECT_EQ(caches.size(), 1u);
    const IntelMachine none(IntelProcessor(0x663).maxLeaf(1));
    EXPECT_FALSE(none.info.getCacheAndTLBInfo(caches));
    EXPECT_EQ(caches.size(), 1u);
    EXPECT_FALSE(none.info.getL2CacheInfo(caches));
    EXPECT_TRUE(caches.isEmpty());
}

TEST(x86_intel_caches, know_which_processors_leaf_4_means) {
    // APIC ID 0x2D (leaf 1 EBX); threads sharing and the ID bits that they take.
    const std::pair<std::uint32_t, std::uint32_t> cases[] = {{1, 0}, {2, 1}, {3, 3}, {4, 3}, {5, 7}, {4096, 0xFFF}};
    for (const auto& [threads, low] : cases) {
        const IntelMachine intel(IntelProcessor(0x306C3)
                                     .leaf(1, {0x306C3, 0x2D000000, 0, 1u << 5})
                                     .leaf(4, {(threads - 1) << 14 | 0x21, 0x3F, 0, 0}));
        zel::Array<x86_cache> caches{x86_cache(), x86_cache()}; // replaced
        ASSERT_TRUE(intel.info.getDeterministicCacheInfo(caches));
        EXPECT_EQ(caches.size(), 1u);
        std::uint32_t id = 0;
        std::uint32_t mask = 0;
        EXPECT_TRUE(caches[0].getTopologyIds(id, mask));
        EXPECT_EQ(mask, ~low);
        EXPECT_EQ(id, 0x2D & ~low);
    }
}

} // namespace
