// How a recording answers in a machine's place.

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <tests/support/AffinityTexts.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace libQuarrow;
using namespace libQuarrow::os;
using cpu::WinAffinity;

namespace {

constexpr cpu::cpuid_args intelLeaf0{0xD, 0x756E6547, 0x6C65746E, 0x49656E69};
constexpr cpu::cpuid_args amdLeaf0{0xD, 0x68747541, 0x444D4163, 0x69746E65};

// Processors at the given places; leaf 5 EAX of each is its index.
using Places = std::vector<std::pair<std::uint16_t, std::uint8_t>>;
Recording machineAt(const Places& places, const cpu::cpuid_args& leaf0 = amdLeaf0) {
    Recording recording;
    for (const auto& [group, bit] : places) {
        RecordedProcessor processor;
        processor.group = group;
        processor.bit = bit;
        processor.leaves[{0, 0}] = leaf0;
        processor.leaves[{5, 0}].eax = static_cast<std::uint32_t>(recording.processors.size());
        recording.processors.push_back(processor);
    }
    return recording;
}

cpu::cpuid_args ask(std::uint32_t leaf, std::uint32_t subleaf = 0) {
    cpu::cpuid_args registers{leaf, 0, subleaf, 0};
    currentMachine().instructions().cpuid(registers);
    return registers;
}

std::uint32_t here() {
    return ask(5).eax;
}

// A recording, current as long as it lives.
struct Replay {
    explicit Replay(const Recording& recording) : machine(recording) {}
    explicit Replay(const Places& places) : Replay(machineAt(places)) {}

    RecordedMachine machine;
    ScopedMachine scope{machine};
};

WinAffinity affinity(const char* text) {
    return WinAffinity::fromString(text).value();
}

TEST(RecordedCpuid, AnswersWhatIsThereAndZerosOtherwise) {
    for (const bool intel : {true, false}) {
        Recording recording = machineAt({{0, 0}}, intel ? intelLeaf0 : amdLeaf0);
        auto& leaves = recording.processors[0].leaves;
        leaves[{4, 1}] = {0x11, 0x22, 0x33, 0x44};
        leaves[{0xD, 0}].eax = 7;
        leaves[{0xD, 1}].eax = 0xF;
        leaves[{0x80000000, 0}].eax = 0x80000008;
        leaves[{0x8FFFFFFF, 0}].eax = 0x49;
        const Replay replay(recording);
        const struct {
            std::uint32_t leaf, subleaf, intelEax, otherEax;
        } cases[] = {
            {0x4, 1, 0x11, 0x11},  {0x4, 0, 0, 0},        {0x6, 0, 0, 0}, // within the maximum
            {0xE, 0, 7, 0},        {0xE, 1, 0xF, 0},      {0xE, 2, 7, 0}, // above it
            {0x40000000, 0, 7, 0}, {0xC0000000, 0, 7, 0},                 // ranges that are not there
            {0x80000008, 0, 0, 0}, {0x80000009, 0, 7, 0}, {0x8FFFFFFF, 0, 0x49, 0x49},
        };
        for (const auto& row : cases) {
            EXPECT_EQ(ask(row.leaf, row.subleaf).eax, intel ? row.intelEax : row.otherEax) << std::hex << row.leaf;
        }
        EXPECT_EQ(ask(4, 1), (cpu::cpuid_args{0x11, 0x22, 0x33, 0x44}));
    }
}

TEST(RecordedCpuid, AnswersXcr0) {
    Recording recording = machineAt({{0, 0}, {0, 1}, {0, 2}});
    for (RecordedProcessor& processor : recording.processors) {
        processor.leaves[{1, 0}].ecx = 1U << 27;
        processor.leaves[{0xD, 0}] = {0xE7, 0, 0, 0x40000000};
    }
    recording.processors[1].xcr0 = 3;
    recording.processors[2].leaves[{1, 0}].ecx = 0;
    const Replay replay(recording);
    const std::uint64_t expected[] = {0x40000000000000E7, 3, 0};
    for (unsigned int i = 0; i < 3; ++i) {
        ASSERT_TRUE(WinAffinity(std::uint64_t{1} << i).setThreadAffinity());
        EXPECT_EQ(currentMachine().instructions().xgetbv(0), expected[i]);
        EXPECT_EQ(currentMachine().instructions().xgetbv(1), 0U);
    }
}

TEST(RecordedMachine, AnEmptyRecordingAnswersNothing) {
    RecordedMachine machine{Recording()};
    cpu::cpuid_args registers{1, 2, 3, 4};
    machine.instructions().cpuid(registers);
    EXPECT_EQ(registers, cpu::cpuid_args());
    EXPECT_FALSE(machine.instructions().cpuidBitToggles());
    EXPECT_EQ(machine.createAffinityAPI()->systemAffinity()->size(), 0U);
    std::string reason;
    EXPECT_EQ(machine.drivers().openMsr(reason), nullptr);
    EXPECT_EQ(reason, "this recording holds no MSRs; docs/recordings.md tells how to add some");
}

// What the thread and the process are pinned to, and the processor that answers.
std::string pins() {
    return brief(WinAffinity::threadAffinity()) + ", " + brief(WinAffinity::processAffinity()) + ", " +
           std::to_string(here());
}

TEST(RecordedAffinity, WithoutGroups) {
    Replay replay({{0, 1}, {0, 4}, {0, 0}});
    EXPECT_FALSE(affinity("0:1").supportsCpuGroups());
    EXPECT_EQ(brief(WinAffinity::systemAffinity()), "0:13");
    EXPECT_EQ(pins(), "0:13, 0:13, 0"); // the first processor of the file
    EXPECT_TRUE(affinity("0:11h").setThreadAffinity());
    EXPECT_EQ(pins(), "0:11, 0:13, 2"); // the lowest of several
    for (const char* refused : {"0:4h", "0:3Fh", "1:1", "0:1/1:1", "0:0"}) {
        EXPECT_FALSE(affinity(refused).setThreadAffinity() || affinity(refused).setProcessAffinity()) << refused;
    }
    EXPECT_TRUE(affinity("0:10h").setProcessAffinity());
    EXPECT_EQ(pins(), "0:11, 0:10, 2"); // a thread with an affinity of its own stays, all others move
    std::thread([] { EXPECT_EQ(pins(), "0:10, 0:10, 1"); }).join();
    EXPECT_TRUE(affinity("0:10h").setThreadAffinity()); // what it is without one of its own
    EXPECT_TRUE(affinity("0:13h").setProcessAffinity());
    EXPECT_EQ(pins(), "0:13, 0:13, 0");
    replay.machine.faults().unpinnable = {2};
    EXPECT_TRUE(affinity("0:11h").setThreadAffinity());
    EXPECT_EQ(pins(), "0:11, 0:13, 1");
}

TEST(RecordedAffinity, WithGroupsAndHoles) {
    const Replay replay({{0, 0}, {0, 8}, {3, 63}});
    EXPECT_TRUE(affinity("0:1").supportsCpuGroups());
    EXPECT_EQ(brief(WinAffinity::systemAffinity()), "0:101 3:8000000000000000");
    EXPECT_EQ(pins(), "0:101, 0:101 3:8000000000000000, 0"); // a thread is in one group
    EXPECT_FALSE(affinity("0:1").setProcessAffinity() || affinity("1:1").setThreadAffinity());
    EXPECT_TRUE(affinity("3:8000000000000000h").setThreadAffinity());
    EXPECT_EQ(here(), 2U);
    EXPECT_TRUE(affinity("0:100h/3:8000000000000000h").setThreadAffinity());
    EXPECT_EQ(pins(), "0:100, 0:101 3:8000000000000000, 1"); // only the first group counts
}

TEST(RecordedAffinity, EveryThreadHasItsOwn) {
    const Replay replay({{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 0}, {3, 1}});
    std::atomic<unsigned int> wrong{0};
    std::vector<std::thread> running;
    const std::vector<WinAffinity> processors = WinAffinity::systemAffinity()->split(WinAffinity::PerLogicalCpu);
    for (unsigned int i = 0; i < processors.size(); ++i) {
        running.emplace_back([&, i] {
            for (int round = 0; round < 500; ++round) {
                cpu::ScopedAffinity pin(processors[i], true);
                wrong += pin.set() && here() == i ? 0 : 1;
            }
            wrong += here() == 0 ? 0 : 1;
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0U);
}

TEST(RecordedClock, RunsAtTheRecordedOrStatedRate) {
    const struct {
        boost::optional<std::uint64_t> recorded;
        cpu::cpuid_args leaf15, leaf16;
        double hertz;
    } cases[] = {
        {std::uint64_t{1}, {}, {}, 1},
        {std::uint64_t{2893202947}, {2, 216, 24000000, 0}, {2600, 0, 0, 0}, 2893202947},
        {std::uint64_t{1} << 50, {}, {}, 1125899906842624},
        {boost::none, {2, 216, 24000000, 0}, {2600, 0, 0, 0}, 2.592e9},
        {boost::none, {2, 216, 0, 0}, {2600, 0, 0, 0}, 2.6e9},
        {boost::none, {1000, 1, 999, 0}, {2600, 0, 0, 0}, 2.6e9}, // less than 1 Hz
        {boost::none, {0, 216, 24000000, 0}, {0, 0, 0, 0}, 1e9},
    };
    for (const auto& row : cases) {
        Recording recording = machineAt({{0, 0}});
        recording.tscHertz = row.recorded;
        recording.processors[0].leaves[{0x15, 0}] = row.leaf15;
        recording.processors[0].leaves[{0x16, 0}] = row.leaf16;
        RecordedMachine machine(recording);
        // The steps of a measurement of the time-stamp counter against the performance counter.
        Clock& clock = machine.clock();
        std::uint64_t frequency = 0, start = 0, end = 0;
        const std::uint64_t tscStart = machine.instructions().rdtsc();
        ASSERT_TRUE(clock.frequency(frequency) && clock.counter(start) && clock.counter(end));
        EXPECT_GE(end, start + frequency / 40) << "waits long enough at once";
        const std::uint64_t tscEnd = machine.instructions().rdtsc();
        ASSERT_TRUE(clock.counter(end));
        EXPECT_EQ(static_cast<double>(tscEnd - tscStart) * static_cast<double>(frequency),
                  static_cast<double>(end - start) * row.hertz);
        EXPECT_EQ(machine.isTscRateKnown(), row.hertz != 1e9);
    }
}

TEST(RecordedClock, KeepsThePriorityClass) {
    RecordedMachine machine(machineAt({{0, 0}}));
    Clock& clock = machine.clock();
    std::uint32_t priority = 0;
    EXPECT_TRUE(clock.setPriorityClass(Clock::realTimePriorityClass));
    machine.faults().priorityClassRefused = true;
    EXPECT_FALSE(clock.setPriorityClass(1));
    EXPECT_TRUE(clock.priorityClass(priority) && priority == Clock::realTimePriorityClass);
}

TEST(RecordedDrivers, EndAtTheLastByteOfMemory) {
    Recording recording = machineAt({{0, 0}});
    recording.memory = {{0xFFFFFFFFFFFFFFFE, 0x12}, {0xFFFFFFFFFFFFFFFF, 0x34}, {0, 0x56}};
    RecordedMachine machine(recording);
    std::string reason;
    const auto memory = machine.drivers().openMemory(reason);
    std::uint8_t bytes[3] = {};
    EXPECT_TRUE(memory->read(0xFFFFFFFFFFFFFFFE, bytes, 2, 0) && bytes[1] == 0x34);
    EXPECT_FALSE(memory->read(0xFFFFFFFFFFFFFFFE, bytes, 3, 0) || memory->write(0xFFFFFFFFFFFFFFFF, bytes, 2, 0));
}

} // namespace
