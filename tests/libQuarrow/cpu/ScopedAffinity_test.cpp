#include <libQuarrow/cpu/ScopedAffinity.h>

#include <tests/support/AmdProcessor.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace libQuarrow::cpu {
namespace {

using namespace testing_support;
using Calls = std::vector<std::string>;

// Both scopes keep the same rules. Of a machine of four processors.
class ScopedAffinityOf : public testing::TestWithParam<bool> {
  protected:
    // What was set, in the scope under test.
    Calls in(Calls affinities) const {
        for (std::string& affinity : affinities) {
            affinity = (thread ? "thread " : "process ") + affinity;
        }
        return affinities;
    }
    std::string current() const {
        return brief(thread ? AffinityMask::threadAffinityMask() : AffinityMask::processAffinityMask());
    }
    void makeUnreadable() {
        (thread ? machine.faults().threadAffinityUnreadable : machine.faults().processAffinityUnreadable) = true;
    }

    const bool thread = GetParam();
    CurrentMachine machine{std::vector(4, AmdProcessor(0x100F42))}; // before the first affinity, which asks it
    const AffinityMask processor2 = maskOf(2);
    const Calls& calls = machine.counts().affinitySets;
};
INSTANTIATE_TEST_SUITE_P(Scope, ScopedAffinityOf, testing::Bool(),
                         [](const auto& scope) { return scope.param ? "Thread" : "Process"; });

TEST_P(ScopedAffinityOf, PinsAndPutsBackOnce) {
    {
        ScopedAffinity pin(processor2, thread);
        EXPECT_TRUE(pin.restore());
        EXPECT_EQ(calls, Calls{});
        EXPECT_TRUE(pin.set());
        EXPECT_EQ(current(), "0:4");
        EXPECT_FALSE(pin.restore()); // the opposite of success
        EXPECT_TRUE(pin.restore());
        EXPECT_TRUE(pin.set());
    }
    EXPECT_EQ(calls, in({"0:4", "0:f", "0:4", "0:f"}));
}

TEST_P(ScopedAffinityOf, DoesNotPinWhatItCouldNotPutBack) {
    makeUnreadable();
    EXPECT_FALSE(ScopedAffinity(processor2, thread).set());
    EXPECT_TRUE(ScopedAffinity(processor2, thread).restore());
    EXPECT_EQ(calls, Calls{});
}

// Only what the last set() did counts: where it failed, what one before it did stays.
TEST_P(ScopedAffinityOf, UndoesWhatTheLastSettingDid) {
    machine.faults().failingAffinitySet = 0;
    EXPECT_FALSE(ScopedAffinity(processor2, thread).set());
    EXPECT_EQ(calls, in({"0:4"}));
    {
        ScopedAffinity pin(processor2, thread);
        EXPECT_TRUE(pin.set());
        machine.faults().failingAffinitySet = 2;
        EXPECT_FALSE(pin.set());
        EXPECT_TRUE(pin.restore());
        EXPECT_EQ(current(), "0:4");
    }
    EXPECT_EQ(calls, in({"0:4", "0:4", "0:4"}));
}

TEST_P(ScopedAffinityOf, TriesAgainWhenPuttingBackFailed) {
    machine.faults().failingAffinitySet = 1;
    {
        ScopedAffinity pin(processor2, thread);
        EXPECT_TRUE(pin.set());
        EXPECT_TRUE(pin.restore());
    }
    EXPECT_EQ(calls, in({"0:4", "0:f", "0:f"}));
    EXPECT_EQ(current(), "0:f");
}

TEST_P(ScopedAffinityOf, VisitsEveryProcessorPinnedOrNot) {
    Calls visited;
    const auto visit = [&](const AffinityMask& mask) { visited.push_back(brief(mask) + " on " + current()); };
    AffinityMask().forEachLogicalCPU(visit, thread);
    EXPECT_EQ(visited, Calls{});
    machine.faults().unpinnable = {3};
    AffinityMask(WinAffinity(0xD)).forEachLogicalCPU(visit, thread);
    EXPECT_EQ(visited, (Calls{"0:1 on 0:1", "0:4 on 0:4", "0:8 on 0:f"}));
    EXPECT_EQ(calls, in({"0:1", "0:f", "0:4", "0:f", "0:8"}));
    makeUnreadable();
    processor2.forEachLogicalCPU(visit, thread);
    EXPECT_EQ(visited.back(), "0:4 on none");
}

TEST_P(ScopedAffinityOf, PutsBackWhenTheVisitorThrows) {
    const auto fail = [](const AffinityMask&) { throw std::runtime_error("visitor"); };
    EXPECT_THROW(processor2.forEachLogicalCPU(fail, thread), std::runtime_error);
    EXPECT_THROW(processor2.forEachLogicalCPU(nullptr, thread), std::bad_function_call);
    EXPECT_EQ(calls, in({"0:4", "0:f", "0:4", "0:f"}));
}

TEST(AffinityMask, KeepsItsValueWhenThereIsNoOther) {
    CurrentMachine machine(std::vector(2, AmdProcessor(0x100F42)));
    machine.faults().processAffinityUnreadable = machine.faults().threadAffinityUnreadable = true;
    AffinityMask mask;
    EXPECT_TRUE(AffinityMask::getSystemAffinityMask(mask));
    EXPECT_FALSE(AffinityMask::getProcessAffinityMask(mask) || AffinityMask::getThreadAffinityMask(mask));
    EXPECT_FALSE(AffinityMask::processAffinityMask() || AffinityMask::threadAffinityMask());
    EXPECT_FALSE(mask.fromString("0:1:2"));
    unsigned int number = 77;
    EXPECT_FALSE(mask.getLogicalCpuNumber(number));
    EXPECT_EQ(number, 77u);
    EXPECT_EQ(brief(mask), "0:3");

    EXPECT_TRUE(mask.fromString("0:4h"));
    EXPECT_TRUE(mask.getLogicalCpuNumber(number));
    EXPECT_EQ(number, 2u);
    zel::Array<WinAffinity> parts{WinAffinity(1), WinAffinity(2)};
    mask.getMaskPerLogicalDevice(parts);
    ASSERT_EQ(parts.size(), 1u);
    EXPECT_EQ(brief(mask | parts[0] | WinAffinity(1)), "0:5");
}

} // namespace
} // namespace libQuarrow::cpu
