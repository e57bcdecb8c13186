#include <libQuarrow/cpu/ScopedAffinity.h>

#include <tests/support/ScriptedAffinity.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace libQuarrow::cpu {
namespace {

using Calls = std::vector<std::string>;

// Both scopes keep the same rules.
class ScopedAffinityOf : public testing::TestWithParam<bool> {
  protected:
    ScopedAffinityOf() { current = std::vector{GroupAffinity(0, 0xF)}; }
    // What was set, in the scope under test.
    Calls in(Calls affinities) const {
        for (std::string& affinity : affinities) {
            affinity = (thread ? "thread " : "process ") + affinity;
        }
        return affinities;
    }

    const bool thread = GetParam();
    ScriptedAffinityMachine machine; // before the first affinity, which takes its backend from it
    const AffinityMask processor2 = WinAffinity(4);
    AffinityGroups& current = thread ? machine.thread : machine.process;
};
INSTANTIATE_TEST_SUITE_P(Scope, ScopedAffinityOf, testing::Bool(),
                         [](const auto& scope) { return scope.param ? "Thread" : "Process"; });

TEST_P(ScopedAffinityOf, PinsAndPutsBackOnce) {
    {
        ScopedAffinity pin(processor2, thread);
        EXPECT_TRUE(pin.restore());
        EXPECT_EQ(machine.calls, Calls{});
        EXPECT_TRUE(pin.set());
        EXPECT_EQ(brief(current), "0:4");
        EXPECT_FALSE(pin.restore()); // the opposite of success
        EXPECT_TRUE(pin.restore());
        EXPECT_TRUE(pin.set());
    }
    EXPECT_EQ(machine.calls, in({"0:4", "0:f", "0:4", "0:f"}));
}

TEST_P(ScopedAffinityOf, DoesNotPinWhatItCouldNotPutBack) {
    current = boost::none;
    EXPECT_FALSE(ScopedAffinity(processor2, thread).set());
    EXPECT_TRUE(ScopedAffinity(processor2, thread).restore());
    EXPECT_EQ(machine.calls, Calls{});
}

// Only what the last set() did counts: where it failed, what one before it did stays.
TEST_P(ScopedAffinityOf, UndoesWhatTheLastSettingDid) {
    machine.refused = {"0:4"};
    EXPECT_FALSE(ScopedAffinity(processor2, thread).set());
    EXPECT_EQ(machine.calls, in({"0:4"}));
    machine.refused.clear();
    {
        ScopedAffinity pin(processor2, thread);
        EXPECT_TRUE(pin.set());
        machine.refused = {"0:4"};
        EXPECT_FALSE(pin.set());
        EXPECT_TRUE(pin.restore());
        EXPECT_EQ(brief(current), "0:4");
    }
    EXPECT_EQ(machine.calls, in({"0:4", "0:4", "0:4"}));
}

TEST_P(ScopedAffinityOf, TriesAgainWhenPuttingBackFailed) {
    {
        ScopedAffinity pin(processor2, thread);
        EXPECT_TRUE(pin.set());
        machine.refused = {"0:f"};
        EXPECT_TRUE(pin.restore());
        machine.refused.clear();
    }
    EXPECT_EQ(machine.calls, in({"0:4", "0:f", "0:f"}));
    EXPECT_EQ(brief(current), "0:f");
}

TEST_P(ScopedAffinityOf, VisitsEveryProcessorPinnedOrNot) {
    Calls visited;
    const auto visit = [&](const AffinityMask& mask) { visited.push_back(brief(mask) + " on " + brief(current)); };
    AffinityMask().forEachLogicalCPU(visit, thread);
    EXPECT_EQ(visited, Calls{});
    machine.refused = {"0:8"};
    AffinityMask(WinAffinity(0xD)).forEachLogicalCPU(visit, thread);
    EXPECT_EQ(visited, (Calls{"0:1 on 0:1", "0:4 on 0:4", "0:8 on 0:f"}));
    EXPECT_EQ(machine.calls, in({"0:1", "0:f", "0:4", "0:f", "0:8"}));
    current = boost::none;
    processor2.forEachLogicalCPU(visit, thread);
    EXPECT_EQ(visited.back(), "0:4 on none");
}

TEST_P(ScopedAffinityOf, PutsBackWhenTheVisitorThrows) {
    const auto fail = [](const AffinityMask&) { throw std::runtime_error("visitor"); };
    EXPECT_THROW(processor2.forEachLogicalCPU(fail, thread), std::runtime_error);
    EXPECT_THROW(processor2.forEachLogicalCPU(nullptr, thread), std::bad_function_call);
    EXPECT_EQ(machine.calls, in({"0:4", "0:f", "0:4", "0:f"}));
}

TEST(AffinityMask, KeepsItsValueWhenThereIsNoOther) {
    ScriptedAffinityMachine machine;
    machine.system = std::vector{GroupAffinity(0, 3)};
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
