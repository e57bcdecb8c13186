#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/cpu/x86/x86_inst.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/IntelProcessor.h>

#include <gtest/gtest.h>

using namespace libQuarrow;
using namespace libQuarrow::cpu;
using namespace testing_support;

namespace {

std::string identity() {
    x86_cpu_signature signature;
    EXPECT_TRUE(x86_inst::getSignature(signature));
    return zel::String::SprintfFormat("%u %s '%s' %X %X %X..%X ", unsigned{x86_inst::getVendor()},
                                      x86_inst::getVendorName(), x86_inst::getCpuName(), x86_inst::getLocalApicId(),
                                      signature.signature, x86_inst::maxCPUID(), x86_inst::maxExtendedCPUID())
               .toUtf8() +
           x86_inst::getSupportedFeatures().toString().toUtf8() + "; " +
           x86_inst::getAllowedFeatures().toString().toUtf8();
}

// A processor whose system saves the AVX registers, and one that has none.
TEST(Inst, AnswersForTheProcessorThatTheThreadIsOn) {
    IntelProcessor intel = IntelProcessor(0x306C3, "  A  CPU").maxLeaf(7).leaf(7, {0, 1 << 5, 0, 0});
    intel.leaf(1, {0x306C3, 0xC5010800, 0x18000000, 1 << 4 | 1 << 5}).leaf(5, {1, 2, 3, 4}).leaf(4, {5, 6, 7, 8}, 2);
    intel.recorded.xcr0 = 7;
    CurrentMachine machine({intel, AmdProcessor(0x100F42).msr(0x10, 1)});
    EXPECT_EQ(identity(), "1 GenuineIntel '  A  CPU' C5 306C3 7..80000004 CPUID, AVX, MSR, TSC, OSXSAVE, AVX2; "
                          "CPUID, AVX, MSR, TSC, AVX2");
    std::uint32_t a = 0, b = 0, c = 0, d = 0;
    x86_inst::callCPUID(5, &a, &b, &c, &d);
    EXPECT_EQ(cpuid_args({a, b, c, d}), cpuid_args({1, 2, 3, 4}));
    cpuid_args out;
    x86_inst::callCPUID(out = {4, 0, 2, 0}, out); // in place
    EXPECT_EQ(out, cpuid_args({5, 6, 7, 8}));
    machine.counts() = {};
    x86_inst::callCPUID(0, nullptr, nullptr, nullptr, nullptr);
    x86_inst::callRDTSC(); // after a leaf 0 that holds later instructions back
    EXPECT_EQ((machine.counts().cpuidOf[{0, 0}]), 2u);
    EXPECT_EQ(machine.counts().cpuid, 2u);

    ScopedAffinity there(maskOf(1), true);
    ASSERT_TRUE(there.set());
    EXPECT_EQ(identity(), "2 AuthenticAMD 'Ample' 0 100F42 1..80000008 CPUID, MSR, TSC; CPUID, MSR, TSC");
    std::uint64_t value = 0;
    EXPECT_TRUE(x86_inst::callWRMSR(0x10, 0x123456789, nullptr) && x86_inst::callRDMSR(0x10, value, nullptr));
    EXPECT_EQ(value, 0x123456789u);

    // Both are true for every argument, on purpose, and still run the query.
    x86_feature_flags absent;
    absent |= x86_feature_AVX;
    for (const auto question : {x86_inst::featuresSupported, x86_inst::featuresAllowed}) {
        machine.counts() = {};
        EXPECT_TRUE(question(absent));
        EXPECT_GE((machine.counts().cpuidOf[{1, 0}]), 1u);
        EXPECT_TRUE(machine.counts().affinitySets.empty() && machine.counts().affinityReads == 0);
    }
}

} // namespace
