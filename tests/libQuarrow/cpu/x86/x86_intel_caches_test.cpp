#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <tests/support/CountingMachine.h>
#include <tests/support/IntelProcessor.h>

#include <string>
#include <vector>

using namespace libQuarrow::cpu;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing_support::IntelMachine;
using testing_support::IntelProcessor;

namespace {

// "L1 Data 32768/64 8-Way Set-Associative x2": size/line, and how many threads share it.
template <class Caches>
std::vector<std::string> texts(const Caches& caches) {
    std::vector<std::string> out;
    for (const x86_cache& cache : caches) {
        std::uint64_t size = 0;
        CacheSizeBaseUnitType unit{};
        cache.getCacheSize(size, unit);
        out.push_back(std::string(x86_cache::levelText(cache.getCacheLevel())) + " " +
                      x86_cache::typeText(cache.getCacheType()) + " " + std::to_string(size) +
                      (unit == CacheSizeInMicroOps ? " uops/" : "/") + std::to_string(cache.getLineSizeBytes()) + " " +
                      x86_cache::associativityText(cache.getAssociativity()).toUtf8() + " x" +
                      std::to_string(cache.getThreadsSharing()));
    }
    return out;
}

std::vector<std::string> cachesOf(const IntelProcessor& processor) {
    const IntelMachine intel(processor);
    x86_caches caches;
    const bool found = intel.cpu.getCaches(caches);
    EXPECT_EQ(found, !caches.isEmpty());
    return texts(caches);
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

TEST(x86_intel_caches, come_from_leaf_4) {
    const std::vector<std::string> expected = {
        "L1 Data 32768/64 8-Way Set-Associative x2", "L1 Instruction 32768/64 8-Way Set-Associative x2",
        "L2 Unified 262144/64 8-Way Set-Associative x2", "L3 Unified 8388608/64 16-Way Set-Associative x16"};
    EXPECT_EQ(cachesOf(haswell()), expected);

    // A trace cache (0x70) comes from leaf 2 all the same, the L2 there (0x7A) does not.
    std::vector<std::string> withTrace = expected;
    withTrace.insert(withTrace.begin() + 2, "L1 Trace 12288 uops/0 8-Way Set-Associative x1");
    EXPECT_EQ(cachesOf(haswell().leaf(2, {0x007A7001, 0, 0, 0})), withTrace);
}

TEST(x86_intel_caches, cost_one_migration) {
    IntelMachine intel(haswell());
    CountingMachine counting(intel.machine);
    const libQuarrow::os::ScopedMachine scope(counting);
    const x86_cpu cpu(AffinityMask(WinAffinity(1)), true, 0, 0);
    cpu.vendorInfo();
    counting.counts = {};
    x86_caches caches;
    EXPECT_TRUE(cpu.getCaches(caches));
    EXPECT_EQ(counting.counts.cpuid, 6u);        // leaf 2 and five sub-leaves of leaf 4
    EXPECT_EQ(counting.counts.affinitySets, 2u); // there and back
}

TEST(x86_intel_caches, decode_every_field_of_leaf_4) {
    struct Case {
        cpuid_args registers;
        const char* text;
    };
    const Case cases[] = {
        // EAX: type 4 to 0, level 7 to 5, fully associative 9, sharing 25 to 14. EBX: ways, partitions, line.
        {{0x00000021, 0x0000003F, 0x3F, 0}, "L1 Data 4096/64 Unknown x1"}, // one way is unknown, not direct mapped
        {{0x00000221, 0x0000003F, 0x3F, 0}, "L1 Data 4096/64 Fully Associative x1"},
        {{0x00000083, 0x0040303F, 1, 0}, "L4 Unified 1024/64 2-Way Set-Associative x1"}, // 4 partitions
        {{0x000000A2, 0x0040003F, 0, 0}, "Unknown Instruction 128/64 2-Way Set-Associative x1"},
        {{0x00000003, 0x0040003F, 0, 0}, "Unknown Unified 128/64 2-Way Set-Associative x1"},
        // The largest fields: 2^32 bytes per set leave nothing of 32 bits. One less way, and all sets count.
        {{0x03FFC023, 0xFFFFFFFF, 0xFFFFFFFF, 0}, "L1 Unified 0/4096 1024-Way Set-Associative x4096"},
        {{0x00000023, 0xFFBFFFFF, 0xFFFFFFFF, 0}, "L1 Unified 18428729675200069632/4096 1023-Way Set-Associative x1"},
    };
    for (const Case& expected : cases) {
        EXPECT_THAT(cachesOf(IntelProcessor(0x306C3).leaf(4, expected.registers)), ElementsAre(expected.text));
    }
}

TEST(x86_intel_caches, know_which_processors_leaf_4_means) {
    // APIC ID 0x2D (leaf 1 EBX); threads sharing and the ID bits that they take.
    const std::pair<std::uint32_t, std::uint32_t> cases[] = {{1, 0}, {2, 1}, {3, 3}, {4, 3}, {5, 7}, {4096, 0xFFF}};
    for (const auto& [threads, low] : cases) {
        const IntelMachine intel(IntelProcessor(0x306C3)
                                     .leaf(1, {0x306C3, 0x2D000000, 0, 1u << 5})
                                     .leaf(4, {(threads - 1) << 14 | 0x21, 0x3F, 0, 0}));
        zel::Array<x86_cache> caches;
        ASSERT_TRUE(intel.info.getDeterministicCacheInfo(caches));
        std::uint32_t id = 0;
        std::uint32_t mask = 0;
        EXPECT_TRUE(caches[0].getTopologyIds(id, mask));
        EXPECT_EQ(mask, ~low);
        EXPECT_EQ(id, 0x2D & ~low);
    }
}

TEST(x86_intel_caches, skip_unknown_types_and_end_where_leaf_4_never_does) {
    IntelProcessor processor(0x306C3);
    processor.leaf(4, {0x00000024, 0x0040003F, 0, 0}, 0).leaf(4, {0x00000021, 0x0040003F, 0, 0}, 1);
    EXPECT_THAT(cachesOf(processor), ElementsAre("L1 Data 128/64 2-Way Set-Associative x1"));

    for (std::uint32_t subleaf = 0; subleaf < 1000; ++subleaf) {
        processor.leaf(4, {0x00000021, 0x0040003F, 0, 0}, subleaf);
    }
    EXPECT_EQ(cachesOf(processor).size(), 64u);
}

TEST(x86_intel_caches, fall_back_to_the_extended_leaf_and_descriptors) {
    // Pentium M 745 and its kin: L1 0x30 and 0x2C, L2 0x7D by leaf 2; 2 MB, 8 ways by leaf 0x80000006.
    IntelProcessor dothan(0x6D6);
    dothan.maxLeaf(2).leaf(2, {0x02B3B001, 0xF0, 0, 0x2C04307D});
    EXPECT_THAT(cachesOf(dothan), ElementsAre("L1 Data 32768/64 8-Way Set-Associative x1",
                                              "L1 Instruction 32768/64 8-Way Set-Associative x1",
                                              "L2 Unified 2097152/64 8-Way Set-Associative x1"));
    dothan.leaf(0x80000000, {0x80000006, 0, 0, 0}).leaf(0x80000006, {0, 0, 0x04008040, 0});
    EXPECT_THAT(cachesOf(dothan), ElementsAre("L1 Data 32768/64 8-Way Set-Associative x1",
                                              "L1 Instruction 32768/64 8-Way Set-Associative x1",
                                              "L2 Unified 1048576/64 16-Way Set-Associative x1"));
    EXPECT_THAT(cachesOf(IntelProcessor(0x663).maxLeaf(1)), IsEmpty());
}

TEST(x86_intel_caches, read_the_associativity_code_of_the_extended_leaf) {
    const char* const codes[] = {"Unknown", "Direct Mapped", "2-Way",   "Unknown", "4-Way",   "Unknown",
                                 "8-Way",   "Unknown",       "16-Way",  "Unknown", "Unknown", "Unknown",
                                 "Unknown", "Unknown",       "Unknown", "Fully"};
    for (std::uint32_t code = 0; code < 16; ++code) {
        const auto caches = cachesOf(
            IntelProcessor(0x6D6).leaf(0x80000000, {0x80000006, 0, 0, 0}).leaf(0x80000006, {0, 0, code << 12, 0}));
        EXPECT_THAT(caches, ElementsAre(HasSubstr(std::string("L2 Unified 0/0 ") + codes[code])));
    }
}

TEST(x86_intel_caches, choose_the_register_of_a_descriptor_by_its_position_modulo_4) {
    struct Case {
        cpuid_args leaf2;
        std::vector<std::string> texts;
    };
    const std::string l1 = "L1 Data 8192/64 4-Way Set-Associative x1";      // 0x66
    const std::string l2 = "L2 Unified 524288/64 8-Way Set-Associative x1"; // 0x7B
    const Case cases[] = {
        {{0x00665B01, 0, 0, 0}, {l1}},
        // 0x66 is byte 2, which ECX decides, and not EAX, where it stands.
        {{0x00665B01, 0, 0xF0000000, 0}, {}},
        {{0xF0667B01, 0, 0, 0}, {l1, l2}},
        // EBX bit 31 takes byte 1 of every register: 0x7B here, and 0x66 in ECX (byte 9), but not that of byte 8.
        {{0x00007B01, 0xF0000000, 0x00006600, 0}, {}},
        {{0x00007B01, 0xF0000000, 0x00000066, 0}, {l1}},
        // Byte 0 is the count, never a descriptor; bytes 4, 8 and 12 are descriptors.
        {{0x00000066, 0x7B, 0, 0}, std::vector<std::string>(0x66, l2)},
        {{0x00000000, 0, 0, 0x7B66}, {l1, l2}}, // a count of 0 is one execution
    };
    for (const Case& expected : cases) {
        EXPECT_EQ(cachesOf(IntelProcessor(0x6D6).maxLeaf(2).leaf(2, expected.leaf2)), expected.texts);
    }
}

TEST(x86_intel_caches, know_the_descriptors) {
    const IntelMachine intel(IntelProcessor(0x6D6));
    zel::Array<x86_cache> caches;
    for (const char* byte = "\x06\x0E\x45\x4E\xE4\x72\x01\x40\xFF"; *byte != '\0'; ++byte) {
        intel.info.addCacheOrTLBEntry(caches, static_cast<std::uint8_t>(*byte));
    }
    EXPECT_THAT(texts(caches), ElementsAre("L1 Instruction 8192/32 4-Way Set-Associative x0",
                                           "L1 Data 24576/64 6-Way Set-Associative x0",
                                           "L2 Unified 2097152/32 4-Way Set-Associative x0",
                                           "L2 Unified 6291456/64 24-Way Set-Associative x0",
                                           "L3 Unified 8388608/64 16-Way Set-Associative x0",
                                           "L1 Trace 32768 uops/0 8-Way Set-Associative x0"));
}

TEST(x86_intel_caches, share_by_the_counts_of_the_package_where_no_leaf_tells) {
    struct Case {
        std::uint32_t cores, threads;
        const char* l1;
        const char* l2;
    };
    const Case cases[] = {{1, 2, "x2", "x2"}, {2, 4, "x2", "x0"}, {4, 2, "x0", "x0"}};
    for (const Case& expected : cases) {
        const auto caches =
            cachesOf(IntelProcessor(0x6F6).leaf(2, {0x007B6601, 0, 0, 0}).counts(expected.cores, expected.threads));
        EXPECT_THAT(caches, ElementsAre(HasSubstr(expected.l1), HasSubstr(expected.l2)));
    }
    // Leaf 0xB with nothing but a thread level leaves the number of cores at 0: nobody can tell.
    IntelProcessor noCores(0x6F6);
    noCores.maxLeaf(0xB).leaf(2, {0x007B6601, 0, 0, 0}).counts(2, 4).leaf(0xB, {1, 2, 0x100, 0});
    EXPECT_THAT(cachesOf(noCores), ElementsAre(HasSubstr("x0"), HasSubstr("x0")));
}

} // namespace
