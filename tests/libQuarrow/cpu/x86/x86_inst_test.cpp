#include <libQuarrow/cpu/x86/x86_inst.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/CountingMachine.h>
#include <tests/support/LogCapture.h>

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

TEST_F(NativeInst, CpuidSkipsNullPointers) {
    x86_inst::callCPUID(0, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(machine.counts.cpuid, 1u);
    std::uint32_t eax = 0;
    std::uint32_t ecx = 0;
    x86_inst::callCPUID(0, &eax, nullptr, &ecx, nullptr);
    cpuid_args whole;
    x86_inst::callCPUID(whole, whole); // in place
    EXPECT_EQ(eax, whole.eax);
    EXPECT_EQ(ecx, whole.ecx);
    EXPECT_EQ(x86_inst::maxCPUID(), whole.eax);
    EXPECT_EQ(machine.counts.cpuidOf.size(), 1u) << "leaf 0, sub-leaf 0 alone";
}

TEST_F(NativeInst, TimeStampCounterComesAfterALeafZero) {
    const std::uint64_t first = x86_inst::callRDTSC();
    EXPECT_EQ((machine.counts.cpuidOf[{0, 0}]), 1u);
    EXPECT_GT(x86_inst::callRDTSC(), first);
}

// Both are true for every argument, on purpose, and still run the query.
TEST_F(NativeInst, FeatureQuestionsAreAlwaysTrueAndStillAsk) {
    x86_feature_flags all;
    for (std::uint32_t i = 0; i < 256; ++i) {
        all |= static_cast<x86_cpu_features>(i);
    }
    for (const auto question : {x86_inst::featuresSupported, x86_inst::featuresAllowed}) {
        machine.counts = {};
        EXPECT_TRUE(question(all));
        EXPECT_GE((machine.counts.cpuidOf[{1, 0}]), 1u);
    }
}

TEST_F(NativeInst, SupportedFeaturesTakeAtMostFifteenCpuids) {
    EXPECT_TRUE(x86_inst::getSupportedFeatures().hasFeature(x86_feature_SSE2));
    EXPECT_LE(machine.counts.cpuid, 15u);
    EXPECT_EQ(machine.counts.affinityReads + machine.counts.affinitySets, 0u);
}

TEST(Inst, MsrAccessIsSilentAboutFailure) {
    std::vector<testing_support::AmdProcessor> processors(1, testing_support::AmdProcessor(0xF4A));
    processors[0].recorded.msrs[0x10] = 7;
    testing_support::CurrentMachine current(processors);
    const testing_support::LogCapture log;
    std::uint64_t value = 1;
    EXPECT_FALSE(x86_inst::callRDMSR(0x11, value, nullptr));
    EXPECT_TRUE(x86_inst::callRDMSR(0x10, value, nullptr));
    EXPECT_EQ(value, 7u);
    EXPECT_TRUE(x86_inst::callWRMSR(0x10, 8, nullptr));
    EXPECT_TRUE(x86_inst::callRDMSR(0x10, value, nullptr));
    EXPECT_EQ(value, 8u);
    current.machine.faults().noMsrDriver = true;
    EXPECT_FALSE(x86_inst::callRDMSR(0x10, value, nullptr));
    EXPECT_FALSE(x86_inst::callWRMSR(0x10, 9, nullptr));
    EXPECT_TRUE(log.messages().empty());
}

} // namespace
