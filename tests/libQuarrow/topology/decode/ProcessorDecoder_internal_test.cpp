#include <libQuarrow/topology/decode/ProcessorDecoder.h>
#include <tests/support/LiteralReader.h>

#include <gtest/gtest.h>

using namespace libQuarrow::topology;

namespace {

constexpr std::uint32_t osxsaveAndXsave = 3U << 26; // leaf 1 ECX
constexpr std::uint32_t topologyExtensionsBit = 1U << 22;

LiteralReader intel() {
    LiteralReader cpuid("GenuineIntel", 0xB, 0x80000004,
                        {{1, 0, {0x50657, 0x03100800, osxsaveAndXsave | 1U << 28, 1U << 28}},
                         {2, 0, {0x76036301, 0, 0, 0}},
                         {4, 0, {0x04000121, 0x01C0003F, 63, 0}},
                         {7, 0, {0, 1U << 5, 0, 0}},
                         {0xB, 0, {1, 2, 0x100, 3}},
                         {0xB, 1, {4, 16, 0x201, 3}},
                         {0xB, 2, {0, 0, 2, 3}},
                         {0x80000002, 0, {0x41, 0, 0, 0}}});
    cpuid.enabledState = 7;
    return cpuid;
}

LiteralReader amd() {
    return LiteralReader("AuthenticAMD", 1, 0x8000001E,
                         {{1, 0, {0x830F10, 0x03100800, 0, 1U << 28}},
                          {0x80000001, 0, {0, 0, topologyExtensionsBit, 0}},
                          {0x80000008, 0, {0, 0, 0x4003, 0}},
                          {0x8000001E, 0, {3, 0x101, 0, 0}}});
}

ProcessorFacts decoded(ProcessorDecoder& decoder, LiteralReader& cpuid) {
    libQuarrow::cpu::RememberingCpuidReader remembering(cpuid);
    return decoder.decode(remembering);
}

// One that differs in its IDs alone is the like of the one before it; any other difference is seen.
TEST(ProcessorDecoder, SharesTheModelOfLikeProcessorsAlone) {
    const struct {
        LiteralReader before;
        std::vector<Leaf> changes;
        std::uint64_t enabledState;
        bool alike;
        std::uint32_t id;
        unsigned int ofPackage = 3; // leaves that are the package's, and not read of the like in it
    } cases[] = {
        {intel(), {}, 7, true, 3},
        {intel(),
         {{1, 0, {0x50657, 0x04100800, osxsaveAndXsave | 1U << 28, 1U << 28}},
          {0xB, 0, {1, 2, 0x100, 4}},
          {0xB, 1, {4, 16, 0x201, 4}},
          {0xB, 2, {0, 0, 2, 4}}},
         7,
         true,
         4},
        {intel(), {{1, 0, {0x50657, 0x03100801, osxsaveAndXsave | 1U << 28, 1U << 28}}}, 7, false, 3}, // brand index
        {intel(), {{2, 0, {0x76036301, 0xB2, 0, 0}}}, 7, false, 3},                                    // a TLB
        {intel(), {{4, 0, {0x04000121, 0x02C0003F, 63, 0}}}, 7, false, 3},                             // 12 ways
        {intel(), {{4, 1, {0x04000122, 0x01C0003F, 63, 0}}}, 7, false, 3},                             // one cache more
        {intel(), {{7, 0, {0, 0, 0, 0}}}, 7, false, 3},
        {intel(), {{0xB, 1, {5, 16, 0x201, 3}}}, 7, false, 3},
        {intel(), {{0x80000002, 0, {0x42, 0, 0, 0}}, {0xB, 0, {1, 2, 0x100, 0x10003}}}, 7, false, 0x10003}, // elsewhere
        {intel(), {{0xB, 0, {1, 2, 0x100, 0x10003}}}, 7, true, 0x10003, 0},
        {intel(), {}, 3, false, 3}, // no AVX for programs
        {amd(), {{1, 0, {0x830F10, 0x04100800, 0, 1U << 28}}, {0x8000001E, 0, {4, 0x102, 1, 0}}}, 0, true, 4},
        {amd(), {{0x8000001E, 0, {3, 0x001, 0, 0}}}, 0, false, 3}, // one thread a core
        {amd(), {{0x8000001E, 0, {0, 0x101, 0, 0}}}, 0, false, 3}, // a hidden leaf: other leaves place it
    };
    for (const auto& test : cases) {
        LiteralReader cpuid = test.before;
        ProcessorDecoder decoder;
        const ProcessorFacts before = decoded(decoder, cpuid);
        for (const Leaf& leaf : test.changes) {
            cpuid.set(leaf);
        }
        cpuid.enabledState = test.enabledState;
        cpuid.executions = 0;
        const ProcessorFacts facts = decoded(decoder, cpuid);
        const unsigned int executions = cpuid.executions;
        cpuid.executions = 0;
        ProcessorDecoder another;
        const ProcessorFacts alone = decoded(another, cpuid);
        const auto which = &test - cases;
        EXPECT_EQ(facts.model == before.model, test.alike) << which;
        EXPECT_TRUE(*facts.model == *alone.model) << which;
        EXPECT_EQ(*before.model == *alone.model, test.alike) << which << ": it would be shared wrongly, or in vain not";
        EXPECT_EQ(executions + (test.alike ? test.ofPackage : 0), cpuid.executions) << which << ": each leaf once";
        EXPECT_EQ(facts.place.id, test.id) << which;
        EXPECT_EQ(facts.place.node, alone.place.node) << which;
    }
}

} // namespace
