#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/CountingMachine.h>

#include <gtest/gtest.h>

using namespace libQuarrow::cpu;
using testing_support::AmdProcessor;

namespace {

struct AmdMachine : testing_support::CurrentMachine {
    explicit AmdMachine(const AmdProcessor& processor)
        : CurrentMachine(std::vector<AmdProcessor>{processor}), cpu(AffinityMask(WinAffinity(1)), true, 0, 0),
          info(cpu) {}

    x86_cpu cpu;
    x86_amd_info info;
};

constexpr std::uint32_t k8 = 0x40F12;
constexpr std::uint32_t phenom = 0x100F42;
constexpr std::uint32_t turion = 0x200F31;
constexpr std::uint32_t llano = 0x300F10;
constexpr std::uint32_t bobcat = 0x500F10;
constexpr std::uint32_t bulldozer = 0x600F12;
constexpr std::uint32_t jaguar = 0x700F01;

TEST(x86_amd_info, revision_and_package) {
    const struct {
        std::uint32_t signature;
        const char* text;
        std::uint32_t family, core, revision;
        std::vector<std::uint32_t> packages; // by the package type field, from 0
    } cases[] = {
        {0xF40, "SH-B0", 0xF, 15, 4, {0, 0}}, // the row that stands twice
        {k8, "JH-F2", 0xF, 8, 23, {3, 3}},
        {phenom, "RB-C2", 0x10, 13, 10, {16, 16, 16, 16, 16, 16}},   // the field is not asked before family 0x11
        {turion, "LG-B1", 0x11, 11, 5, {5, 10, 11, 12, 16, 13, 16}}, // by the list of family 0x12, on purpose
        {llano, "LN1-B0", 0x12, 17, 4, {5, 10, 11, 12, 16, 13, 16}},
        {bulldozer, "OR-B2", 0x15, 18, 6, {5, 16, 16, 12, 16, 13, 16}},
        {jaguar, "KB-A1", 0x16, 9, 2, {14, 15, 6, 16}},
        {0x800F11, "", 0x17, 0, 0, {16, 16, 16}}, // not in the table
    };
    for (const auto& test : cases) {
        for (std::uint32_t field = 0; field < test.packages.size(); ++field) {
            SCOPED_TRACE(testing::Message() << std::hex << test.signature << " " << field);
            const AmdMachine machine(AmdProcessor(test.signature).packageField(field));
            const AmdCpuRevision& revision = machine.info.getCpuRevision();
            EXPECT_EQ(revision.family, test.family);
            EXPECT_EQ(revision.coreCode, test.core);
            EXPECT_EQ(revision.revisionCode, test.revision);
            EXPECT_EQ(machine.info.getPackageType(), test.packages[field]);
            zel::String text = "before";
            EXPECT_EQ(machine.info.getRevisionString(text), *test.text != '\0');
            EXPECT_EQ(text, test.text);
        }
    }
    const AmdMachine withoutLeaf(AmdProcessor(bulldozer).packageField(3).maxExtendedLeaf(0x80000000));
    EXPECT_EQ(withoutLeaf.info.getPackageType(), AmdPackage_other);
}

TEST(x86_amd_info, bootstrap_processor) {
    const auto answer = [](std::uint32_t signature, boost::optional<std::uint64_t> apicBase) {
        AmdProcessor processor(signature);
        if (apicBase) {
            processor.recorded.msrs[0x1B] = *apicBase;
        }
        return AmdMachine(processor).info.isBSP();
    };
    EXPECT_EQ(answer(k8, 0xFEE00900), AmdBSP_bootstrap);
    EXPECT_EQ(answer(phenom, 0xFEE00800), AmdBSP_application);
    EXPECT_EQ(answer(phenom, boost::none), AmdBSP_unknown);
    EXPECT_EQ(answer(turion, 0xFEE00900), AmdBSP_unknown);
}

TEST(x86_amd_info, caches_of_the_legacy_leaves) {
    const AmdMachine machine(AmdProcessor(phenom).caches());
    x86_caches caches;
    ASSERT_TRUE(machine.cpu.getCaches(caches));
    zel::String text;
    for (const x86_cache& cache : caches) {
        text +=
            zel::String::SprintfFormat("%s %s, %u ways of %u bytes, %s\n", x86_cache::levelText(cache.getCacheLevel()),
                                       x86_cache::typeText(cache.getCacheType()), cache.getAssociativity(),
                                       cache.getLineSizeBytes(), cache.getCacheSizeFormatted(true));
    }
    EXPECT_EQ(text, "L1 Data, 2 ways of 64 bytes, 64 KB\nL1 Instruction, 2 ways of 64 bytes, 64 KB\n"
                    "L2 Unified, 16 ways of 64 bytes, 512 KB\nL3 Unified, 48 ways of 64 bytes, 6 MB\n");
    // What was there before counts as found, and the processor is asked no further.
    EXPECT_TRUE(machine.info.getCaches(caches));
    EXPECT_EQ(caches.size(), 4u);
    // Missing leaves, and an L3 of less than one unit.
    caches.clear();
    EXPECT_FALSE(AmdMachine(AmdProcessor(phenom).caches().maxExtendedLeaf(0x80000004)).info.getCaches(caches));
    EXPECT_TRUE(AmdMachine(AmdProcessor(phenom).caches().maxExtendedLeaf(0x80000005)).info.getCaches(caches));
    EXPECT_EQ(caches.size(), 2u);
    caches.clear();
    const AmdProcessor noL3 = AmdProcessor(phenom).caches().leaf(0x80000006, {0, 0, 0x02008140, 0x0003F140});
    EXPECT_TRUE(AmdMachine(noL3).info.getCaches(caches));
    EXPECT_EQ(caches.size(), 3u);
}

TEST(x86_amd_info, associativity_codes) {
    constexpr std::uint32_t full = x86_cache_assoc_full;
    constexpr std::uint32_t none = x86_cache_assoc_unknown;
    constexpr std::uint32_t l1Cases[][2] = {{0, none}, {1, 1}, {2, 2}, {0xFE, 0xFE}, {0xFF, full}};
    constexpr std::uint32_t l2Expected[] = {none, 1, 2, none, 4, none, 8, none, 16, none, 32, 48, 64, 96, 128, full};
    for (std::uint32_t l2Code = 0; l2Code < 16; ++l2Code) {
        const auto& [l1Code, l1Expected] = l1Cases[l2Code % 5];
        AmdProcessor processor(phenom);
        processor.leaf(0x80000005, {0, 0, 0x40000140 | l1Code << 16, 0});
        processor.leaf(0x80000006, {0, 0, 0x02000140 | l2Code << 12, 0});
        x86_caches caches;
        ASSERT_TRUE(AmdMachine(processor).info.getCaches(caches));
        EXPECT_EQ(caches[0].getAssociativity(), l1Expected);
        EXPECT_EQ(caches[2].getAssociativity(), l2Expected[l2Code]);
    }
}

TEST(x86_amd_info, who_shares_caches_of_the_legacy_leaves) {
    // Signature, cores, threads; threads that share L1, L2, L3 (0: not known).
    constexpr std::uint32_t cases[][6] = {
        {phenom, 2, 2, 1, 1, 2}, {phenom, 2, 4, 2, 2, 4},    {turion, 4, 4, 1, 1, 4},
        {k8, 2, 2, 1, 1, 0},     {bobcat, 2, 2, 1, 1, 0},    {bulldozer, 4, 8, 2, 0, 0},
        {jaguar, 4, 4, 1, 0, 0}, {bulldozer, 1, 2, 2, 2, 2}, {phenom, 0, 0, 0, 0, 0}, // no division by no cores
    };
    for (const auto& [signature, cores, threads, l1, l2, l3] : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << signature << " " << cores << " " << threads);
        const AmdMachine machine(AmdProcessor(signature).caches().counts(cores, threads));
        ASSERT_EQ(machine.cpu.getNumberCoresPerPhysicalPackage(), cores);
        x86_caches caches;
        ASSERT_TRUE(machine.info.getCaches(caches));
        const std::uint32_t expected[] = {l1, l1, l2, l3};
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(caches[i].getThreadsSharing(), expected[i]);
        }
    }
}

TEST(x86_amd_info, caches_of_the_deterministic_leaf_come_first) {
    AmdProcessor processor(bulldozer);
    processor.caches().counts(4, 8).maxExtendedLeaf(0x8000001E).leaf(0x80000001, {0, 0, 1u << 22, 0});
    processor.leaf(0x8000001D, {0x00004143, 0x03C0003F, 0x000007FF, 0}, 0); // L2, 2 MB, for two
    AmdMachine machine(processor);
    CountingMachine counting(machine.machine);
    const libQuarrow::os::ScopedMachine scope(counting);
    const x86_cpu cpu(AffinityMask(WinAffinity(1)), true, 0, 0);
    counting.counts = {};
    x86_caches caches;
    ASSERT_TRUE(cpu.getCaches(caches));
    EXPECT_EQ(counting.counts.affinitySets, 2u); // there and back
    ASSERT_EQ(caches.size(), 1u);
    EXPECT_EQ(caches[0].getCacheSizeFormatted(false), "2 MB");
    EXPECT_EQ(caches[0].getThreadsSharing(), 2u);
}

} // namespace
