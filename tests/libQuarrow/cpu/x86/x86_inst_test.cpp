#include <libQuarrow/cpu/x86/x86_inst.h>
#include <tests/support/CountingMachine.h>

#include <gtest/gtest.h>

using namespace libQuarrow;
using namespace libQuarrow::cpu;

namespace {

// The processor that this test runs on.
class NativeInst : public testing::Test {
  protected:
    CountingMachine machine{os::nativeMachine()};
    os::ScopedMachine scope{machine};
};

TEST_F(NativeInst, ExecutesOneLeafZeroForEachCall) {
    x86_inst::callCPUID(0, nullptr, nullptr, nullptr, nullptr);
    std::uint32_t eax = 0;
    std::uint32_t ecx = 0;
    x86_inst::callCPUID(0, &eax, nullptr, &ecx, nullptr);
    cpuid_args whole;
    x86_inst::callCPUID(whole, whole); // in place
    EXPECT_TRUE(eax == whole.eax && ecx == whole.ecx && x86_inst::maxCPUID() == whole.eax);
    const std::uint64_t first = x86_inst::callRDTSC();
    EXPECT_GT(x86_inst::callRDTSC(), first);
    EXPECT_EQ((machine.counts.cpuidOf[{0, 0}]), 6u);
    EXPECT_EQ(machine.counts.cpuid, 6u);
}

// Both are true for every argument, on purpose, and still run the query.
TEST_F(NativeInst, FeatureQuestionsAreAlwaysTrueAndStillAsk) {
    x86_feature_flags all;
    for (std::uint32_t i = 0; i < 256; ++i) {
        all |= static_cast<x86_cpu_features>(i);
    }
    EXPECT_FALSE(x86_inst::getSupportedFeatures() == all);
    for (const auto question : {x86_inst::featuresSupported, x86_inst::featuresAllowed}) {
        machine.counts = {};
        EXPECT_TRUE(question(all));
        EXPECT_GE((machine.counts.cpuidOf[{1, 0}]), 1u);
    }
    EXPECT_EQ(machine.counts.affinityReads + machine.counts.affinitySets.size(), 0u);
}

} // namespace
