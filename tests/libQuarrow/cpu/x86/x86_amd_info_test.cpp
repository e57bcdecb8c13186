#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/CacheTexts.h>
#include <tests/support/LogCapture.h>

#include <gtest/gtest.h>

#include <map>

using namespace libQuarrow::cpu;
using testing_support::AmdProcessor;
using testing_support::phenom;

namespace {

struct AmdMachine : testing_support::OneProcessor {
    explicit AmdMachine(const AmdProcessor& processor) : OneProcessor(processor), info(cpu) {}

    x86_amd_info info;
};

constexpr std::uint32_t k8 = 0x40F12;
constexpr std::uint32_t turion = 0x200F31;
constexpr std::uint32_t llano = 0x300F10;
constexpr std::uint32_t bobcat = 0x500F10;
constexpr std::uint32_t bulldozer = 0x600F12;
constexpr std::uint32_t jaguar = 0x700F01;

TEST(x86_amd_info, revision_and_package) {
    const struct {
        std::uint32_t signature;
        zel::String text;
        std::vector<std::uint32_t> revision; // family, core code, revision code, 0
        std::vector<std::uint32_t> packages; // by the package type field, from 0
    } cases[] = {
        {0xF40, "SH-B0", {0xF, 15, 4, 0}, {0, 0}}, // the row that stands twice
        {k8, "JH-F2", {0xF, 8, 23, 0}, {3, 3}},
        {phenom, "RB-C2", {0x10, 13, 10, 0}, {16, 16, 16, 16, 16, 16}}, // the field is not asked before family 0x11
        {0x100F22, "DR-B2", {0x10, 6, 6, 0}, {3, 3}},
        {turion, "LG-B1", {0x11, 11, 5, 0}, {5, 10, 11, 12, 16, 13, 16}}, // by the list of family 0x12, on purpose
        {llano, "LN1-B0", {0x12, 17, 4, 0}, {5, 10, 11, 12, 16, 13, 16}},
        {bulldozer, "OR-B2", {0x15, 18, 6, 0}, {5, 16, 16, 12, 16, 13, 16}},
        {jaguar, "KB-A1", {0x16, 9, 2, 0}, {14, 15, 6, 16}},
        {0x800F11, "", {0x17, 0, 0, 0}, {16, 16, 16}}, // not in the table
    };
    for (const auto& test : cases) {
        for (std::uint32_t field = 0; field < test.packages.size(); ++field) {
            SCOPED_TRACE(testing::Message() << test.text << " " << field);
            const AmdMachine machine(AmdProcessor(test.signature).packageField(field));
            const auto& [family, core, revision, reserved] = machine.info.getCpuRevision();
            EXPECT_EQ((std::vector<std::uint32_t>{family, core, revision, reserved}), test.revision);
            EXPECT_EQ(machine.info.getPackageType(), test.packages[field]);
            zel::String text = "before";
            EXPECT_EQ(machine.info.getRevisionString(text), !test.text.isEmpty());
            EXPECT_EQ(text, test.text);
        }
    }
    const AmdMachine withoutLeaf(AmdProcessor(bulldozer).packageField(3).maxExtendedLeaf(0x80000000));
    EXPECT_EQ(withoutLeaf.info.getPackageType(), AmdPackage_other);
}

TEST(x86_amd_info, bootstrap_processor) {
    const auto answer = [](std::uint32_t signature, const std::map<std::uint32_t, std::uint64_t>& msrs) {
        AmdProcessor processor(signature);
        processor.recorded.msrs = msrs;
        return AmdMachine(processor).info.isBSP();
    };
    EXPECT_EQ(answer(k8, {{0x1B, 0xFEE00900}}), AmdBSP_bootstrap);
    EXPECT_EQ(answer(phenom, {{0x1B, 0xFEE00800}}), AmdBSP_application);
    EXPECT_EQ(answer(phenom, {}), AmdBSP_unknown);
    EXPECT_EQ(answer(turion, {{0x1B, 0xFEE00900}}), AmdBSP_unknown);
}

TEST(x86_amd_info, caches_of_the_legacy_leaves) {
    const auto cpu = [](std::uint32_t signature, std::uint32_t cores, std::uint32_t threads) {
        return AmdProcessor(signature).caches().counts(cores, threads);
    };
    const auto text = [](const std::string& l1, const std::string& l2, const std::string& l3) {
        return "L1D 65536/64 2 x" + l1 + ", L1I 65536/64 2 x" + l1 + (l2.empty() ? "" : ", L2U 524288/64 16 x" + l2) +
               (l3.empty() ? "" : ", L3U 6291456/64 48 x" + l3);
    };
    const std::pair<AmdProcessor, std::string> cases[] = {
        {cpu(phenom, 2, 2), text("1", "1", "2")},
        {cpu(phenom, 2, 4), text("2", "2", "4")},
        {cpu(turion, 4, 4), text("1", "1", "4")},
        {cpu(k8, 2, 2), text("1", "1", "0")},
        {cpu(llano, 4, 4), text("1", "1", "0")},
        {cpu(0x400F10, 2, 2), text("1", "0", "0")}, // no such family
        {cpu(bobcat, 2, 2), text("1", "1", "0")},
        {cpu(bulldozer, 4, 8), text("2", "0", "0")},
        {cpu(jaguar, 4, 4), text("1", "0", "0")},
        {cpu(bulldozer, 1, 2), text("2", "2", "2")},
        {cpu(phenom, 0, 0), text("0", "0", "0")}, // no division by no cores
        {cpu(phenom, 2, 2).leaf(0x80000006, {0, 0, 0x02008140, 0x0003F140}), text("1", "1", "")}, // L3 below one unit
        {AmdProcessor(phenom).caches().maxExtendedLeaf(0x80000005), text("1", "", "")},
        {AmdProcessor(phenom).caches().maxExtendedLeaf(0x80000000), ""},
    };
    for (const auto& [processor, expected] : cases) {
        const AmdMachine machine(processor);
        x86_caches caches;
        // The second time what is there already counts as found, and the processor is asked no further.
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(machine.cpu.getCaches(caches), !expected.empty());
            EXPECT_EQ(testing_support::textOf(caches), expected);
        }
    }
}

TEST(x86_amd_info, associativity_codes) {
    constexpr std::uint32_t full = x86_cache_assoc_full;
    constexpr std::uint32_t none = x86_cache_assoc_unknown;
    constexpr std::uint32_t l1Cases[][2] = {{0, none}, {1, 1}, {2, 2}, {0xFE, 0xFE}, {0xFF, full}};
    constexpr std::uint32_t l2Expected[] = {none, 1, 2, none, 4, none, 8, none, 16, none, 32, 48, 64, 96, 128, full};
    for (std::uint32_t l2Code = 0; l2Code < 16; ++l2Code) {
        const auto& [l1Code, l1Expected] = l1Cases[l2Code % 5];
        AmdProcessor processor(phenom);
        processor.leaf(0x80000005, {0, 0, l1Code << 16, 0}).leaf(0x80000006, {0, 0, l2Code << 12, 0});
        x86_caches caches;
        ASSERT_TRUE(AmdMachine(processor).info.getCaches(caches));
        EXPECT_EQ(caches[0].getAssociativity(), l1Expected);
        EXPECT_EQ(caches[2].getAssociativity(), l2Expected[l2Code]);
    }
}

struct Access : x86_vendor_info {
    using x86_vendor_info::getCacheTopologyInfo;
};

TEST(x86_amd_info, caches_of_the_deterministic_leaf_come_first) {
    for (const bool supported : {true, false}) {
        AmdProcessor processor = AmdProcessor(jaguar).counts(4, 8).maxExtendedLeaf(0x8000001E);
        processor.leaf(0x80000001, {0, 0, supported ? 1u << 22 : ~(1u << 22), 0});
        processor.leaf(0x8000001D, {0x00004143, 0x03C0003F, 0x000007FF, 0}); // for two
        AmdMachine machine(processor);
        zel::Array<x86_cache> found{x86_cache(), x86_cache()};
        EXPECT_EQ(Access::getCacheTopologyInfo(machine.cpu, found), supported);
        EXPECT_EQ(found.size(), supported ? 1u : 2u); // refused: left as it was
        const testing_support::LogCapture log;
        machine.counts() = {};
        x86_caches caches;
        ASSERT_TRUE(machine.info.getCaches(caches));
        EXPECT_EQ(machine.counts().affinitySets.size(), 2u); // there and back
        const std::string message = "1 libQuarrow.x86_vendor_info: CPUID - Cache topology supported: ";
        EXPECT_EQ(log.messages(), std::vector<std::string>{message + (supported ? "yes" : "no")});
        EXPECT_EQ(testing_support::textOf(caches),
                  supported ? "L2U 2097152/64 16 x2" : "L1D 0/0 Unknown x1, L1I 0/0 Unknown x1, L2U 0/0 Unknown x0");
        EXPECT_FALSE(caches[0].matchesApicId(0)); // topology IDs are for Intel
    }
}

} // namespace
