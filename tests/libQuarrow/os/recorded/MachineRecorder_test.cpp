// What is recorded of a machine.

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/os/recorded/MachineRecorder.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/Recordings.h>

#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

using namespace libQuarrow;
using namespace libQuarrow::os;
using namespace testing_support;

namespace {

// Of one processor.
Recording machine() {
    return CurrentMachine::recording(std::vector{AmdProcessor(1)});
}

// How many sub-leaves of how many leaves were recorded of the one processor, the leaves masked.
std::map<std::uint32_t, unsigned int> counted(const Recording& recording, std::uint32_t mask) {
    std::map<std::uint32_t, unsigned int> counts;
    const Recording result = recorded(recording); // lives as long as the loop
    for (const auto& leaf : result.processors.at(0).leaves) {
        ++counts[leaf.first.first & mask];
    }
    return counts;
}

TEST(MachineRecorder, LeavesOutProcessorsThatCannotBePinned) {
    CurrentMachine machine({AmdProcessor(1), AmdProcessor(2), AmdProcessor(3).leaf(1, {3, 0, 1U << 27, 0})});
    ASSERT_TRUE(cpu::WinAffinity(4).setThreadAffinity());
    machine.faults().unpinnable = {1};
    RecordingError error;
    const auto recording = recordCurrentMachine(error);
    ASSERT_TRUE(recording) << error.message;
    EXPECT_EQ(cpu::WinAffinity::threadAffinity().value(), cpu::WinAffinity(4)) << "put back";
    ASSERT_EQ(recording->processors.size(), 2U);
    EXPECT_EQ(recording->processors[1].bit, 2);
    EXPECT_EQ((recording->processors[1].leaves.at({1, 0}).eax), 3U);
    EXPECT_EQ(recording->processors[1].xcr0, std::uint64_t{0});
    machine.faults().unpinnable = {0, 1, 2};
    EXPECT_FALSE(recordCurrentMachine(error));
    EXPECT_EQ(error.message, "this machine cannot be recorded: no thread can be pinned to any of its processors");
    machine.faults().systemAffinityUnreadable = true;
    EXPECT_FALSE(recordCurrentMachine(error));
    EXPECT_EQ(error.message, "this machine cannot be recorded: its processors cannot be listed");
}

// Intel's manual, volume 2A, CPUID, and AMD's, volume 3, appendix E, say how each leaf's sub-leaves end: each is filled
// with an end of every kind at a place of its own.
TEST(MachineRecorder, FollowsEachEnumerationToItsEnd) {
    Recording recording = machine();
    auto& leaves = recording.processors[0].leaves;
    for (const std::uint32_t first : {0u, 0x80000000u}) {
        for (std::uint32_t leaf = first; leaf <= first + 0x26; ++leaf) {
            for (std::uint32_t subleaf = 0; subleaf < 70; ++subleaf) {
                // EAX: type 0 in sub-leaf 12, no section in 10 (in 1 it does not count), 0x22 as the last one.
                leaves[{leaf, subleaf}].eax = subleaf == 1 || subleaf == 10 ? 0x30 : subleaf == 12 ? 0x20 : 0x22;
                leaves[{leaf, subleaf}].ecx = (subleaf == 7 ? 0 : 0x200) | subleaf; // level 0 in sub-leaf 7
            }
        }
        leaves[{first, 0}].eax = first + 0x26;
    }
    leaves[{0x14, 0}].eax = 0xFFFFFFFF; // never ends
    for (std::uint32_t subleaf = 1; subleaf < 70; subleaf += 2) {
        leaves.erase({0xD, subleaf}); // zeros between
    }
    leaves[{0x40000000, 0}].eax = 0x40000000; // no hypervisor is announced
    const std::map<std::uint32_t, unsigned int> expected = {
        {4, 13},    {7, 35},    {0xB, 8},   {0xD, 32},        {0xF, 2},        {0x10, 7},      {0x12, 11},
        {0x14, 64}, {0x17, 35}, {0x18, 35}, {0x1B, 4},        {0x1D, 35},      {0x1E, 35},     {0x1F, 8},
        {0x20, 35}, {0x23, 6},  {0x24, 35}, {0x8000001D, 13}, {0x80000020, 6}, {0x80000026, 8}};
    auto found = counted(recording, ~0U);
    EXPECT_EQ(found.size(), 2 * 0x27U);
    for (auto leaf = found.begin(); leaf != found.end();) {
        leaf = leaf->second == 1 ? found.erase(leaf) : std::next(leaf);
    }
    EXPECT_EQ(found, expected);
}

TEST(MachineRecorder, BoundsLeavesThatNeverEnd) {
    Recording recording = machine();
    auto& leaves = recording.processors[0].leaves;
    leaves[{0, 0}].eax = 0x3FFFFFFF;
    leaves[{1, 0}].ecx = 1U << 31;
    leaves[{0x40000000, 0}].eax = 0x7FFFFFFF;
    leaves[{0x80000000, 0}].eax = 0xFFFFFFFF; // past its range: names no leaf
    leaves[{0xC0000000, 0}].eax = 0xC0000001;
    for (std::uint32_t leaf = 2; leaf < 0x200; ++leaf) {
        leaves[{leaf, 0}].ebx = 1;
        leaves[{0x40000000 + leaf, 0}].ebx = 1;
        leaves[{0x80000000 + leaf, 0}].ebx = 1;
        leaves[{0xC0000000 + leaf, 0}].ebx = 1;
    }
    const std::map<std::uint32_t, unsigned int> expected = {
        {0, 0x100}, {0x40000000, 0xFF}, {0x80000000, 1}, {0xC0000000, 1}};
    EXPECT_EQ(counted(recording, 0xC0000000), expected);
}

// A hypervisor's first leaf that names none of its leaves as the highest.
TEST(MachineRecorder, KeepsWhatARangeWithoutAMaximumHolds) {
    const cpu::cpuid_args kvm = {0, 0x4B4D564B, 0x564B4D56, 0x4D}; // as older hosts answer
    const struct {
        bool isIntel;
        cpu::cpuid_args hypervisor;
        std::vector<std::uint32_t> recorded; // of the hypervisor's range
    } cases[] = {
        {true, kvm, {0x40000000, 0x40000001}},
        {false, kvm, {0x40000000, 0x40000001}},
        {false, {1, 2, 3, 4}, {0x40000000}},
        {false, {}, {0x40000001}},
        // None at all: on an Intel processor its highest standard leaf answers, which is 6 here.
        {true, {0x77, 2, 9, 0}, {}},
    };
    for (const auto& row : cases) {
        Recording recording =
            row.isIntel
                ? CurrentMachine::recording(std::vector{IntelProcessor(0x506E3, "Brand").leaf(6, {0x77, 2, 9, 0})})
                : machine();
        auto& leaves = recording.processors[0].leaves;
        leaves[{1, 0}].ecx = 1U << 31;
        leaves[{0x40000000, 0}] = row.hypervisor;
        leaves[{0x40000001, 0}].eax = 0x01007EFB;
        std::vector<std::uint32_t> found;
        const Recording result = recorded(recording);
        for (const auto& leaf : result.processors.at(0).leaves) {
            if (leaf.first.first >> 30 == 1) {
                found.push_back(leaf.first.first);
            }
        }
        EXPECT_EQ(found, row.recorded);
    }
}

TEST(MachineRecorder, KeepsWhatTheSystemTellsOfTheMicrocode) {
    Recording recording = CurrentMachine::recording(std::vector{AmdProcessor(1), AmdProcessor(2)});
    recording.processors[1].microcode = 0xA601209;
    const Recording result = recorded(recording);
    EXPECT_EQ(result.processors.at(0).microcode, boost::none);
    EXPECT_EQ(result.processors.at(1).microcode, 0xA601209U);
}

TEST(MachineRecorder, KeepsEveryInterfaceOfAHypervisor) {
    Recording recording = machine();
    auto& leaves = recording.processors[0].leaves;
    leaves[{1, 0}].ecx = 1U << 31;
    leaves[{0x40000000, 0}] = {0x40000001, 1, 2, 3};
    leaves[{0x40000100, 0}] = {0x40000102, 1, 2, 3};
    leaves[{0x40000102, 0}].edx = 7;
    leaves[{0x40000300, 0}] = {0x40000300, 1, 2, 3}; // behind a range that is not there
    EXPECT_EQ(counted(recording, 0xFFFFFF00).at(0x40000000), 1U);
    EXPECT_EQ(counted(recording, 0xFFFFFF00).at(0x40000100), 2U);
    EXPECT_EQ(counted(recording, 0xFFFFFF00).count(0x40000300), 0U);
    leaves[{0x40000200, 0}] = {0x40000200, 1, 2, 3};
    leaves[{0x40000400, 0}] = {0x40000400, 1, 2, 3}; // as many as are told of the live machine
    EXPECT_EQ(counted(recording, 0xFFFFFF00).at(0x40000400), 1U);
}

// Each register of the processor that it was read from, and no others.
TEST(MachineRecorder, NotesTheRegistersThatTheAnswersComeFrom) {
    const auto skylake = [](std::uint64_t number) {
        return IntelProcessor(0x506E3, "Intel(R) Core(TM) i7-6700K CPU @ 4.00GHz")
            .counts(4, 4)
            .leaf(6, {2, 0, 0, 0})
            .msr(0xCE, 0x2800 + number)
            .msr(0x1A2, number << 16)
            .msr(0x1AD, 0x2A)
            .msr(0x1AE, 0x4) // by groups, as the topology asks for it
            .msr(0x10A, 7);
    };
    Recording both = CurrentMachine::recording(std::vector{skylake(100), skylake(90)});
    both.processors[1].group = 1;
    both.processors[1].bit = 0; // the same place in another group
    both.processors[1].frequencies.baseHertz = 4'000'000'000;
    RecordedMachine machine(both);
    CountingMachine live(machine); // no replay, whose registers are known already
    const ScopedMachine scope(live);
    RecordingError error;
    const auto recording = recordCurrentMachine(error);
    ASSERT_TRUE(recording) << error.message;
    EXPECT_EQ(recording->tscHertz, std::uint64_t{1000000000}) << "measured on a clock that runs at 1 GHz";
    for (const std::uint64_t number : {100U, 90U}) {
        const std::map<std::uint32_t, std::uint64_t> expected = {
            {0xCE, 0x2800 + number}, {0x1A2, number << 16}, {0x1AD, 0x2A}, {0x1AE, 0x4}};
        EXPECT_EQ(recording->processors[number == 100 ? 0 : 1].msrs, expected);
    }
    EXPECT_EQ(recording->processors[1].frequencies, both.processors[1].frequencies);
    machine.faults().noMsrDriver = true;
    EXPECT_TRUE(recordCurrentMachine(error)->processors[0].msrs.empty());
}

TEST(MachineRecorder, GivesAllThatAReplayedRecordingHolds) {
    Recording recording = machine();
    recording.processors[0].msrs[0x10A] = 7;
    recording.memory[0xF0000] = 0x5F;
    RecordedMachine replayed(recording);
    const ScopedMachine scope(replayed);
    RecordingError error;
    EXPECT_EQ(written(recordCurrentMachine(error).value()), written(recording));
}

} // namespace
