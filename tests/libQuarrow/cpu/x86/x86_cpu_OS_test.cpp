// The time-stamp counter's rate: what it says, and that it leaves everything as it found it.

#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/LogCapture.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <stdexcept>

using namespace libQuarrow;
using cpu::x86_cpu;
using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::IntelProcessor;
using testing_support::LogCapture;

namespace {

constexpr std::uint32_t normalClass = 0x20;

// A recorded processor of two, with a clock that a test can spoil. `cpu` is the second one.
class SpoiltMachine : public os::Machine, private os::Clock {
  public:
    SpoiltMachine() : m_recorded(twoProcessors()), m_scope(*this), cpu(cpu::WinAffinity(2), true, 0, 0) {}

    // None: as recorded (10 MHz; every reading is a second later).
    boost::optional<std::uint64_t> countsPerSecond;
    std::function<bool(std::uint64_t& counts)> readCounter;
    bool priorityUnreadable = false;
    std::vector<std::uint32_t> classesSet;

    os::Faults& faults() { return m_recorded.faults(); }
    std::uint32_t priority() {
        std::uint32_t value = 0;
        m_recorded.clock().priorityClass(value);
        return value;
    }

    os::Instructions& instructions() override { return m_recorded.instructions(); }
    std::shared_ptr<cpu::AffinityAPI> createAffinityAPI() override { return m_recorded.createAffinityAPI(); }
    libKernelMode::DriverBackend& drivers() override { return m_recorded.drivers(); }
    os::Clock& clock() override { return *this; }

  private:
    static os::Recording twoProcessors() {
        os::Recording recording;
        recording.processors.assign(2, IntelProcessor(0x306C3).recorded);
        recording.processors[1].bit = 1;
        recording.tscHertz = 3400000000;
        return recording;
    }
    bool frequency(std::uint64_t& value) override {
        value = countsPerSecond.value_or(0);
        return countsPerSecond || m_recorded.clock().frequency(value);
    }
    bool counter(std::uint64_t& counts) override {
        return readCounter ? readCounter(counts) : m_recorded.clock().counter(counts);
    }
    bool priorityClass(std::uint32_t& value) override {
        return !priorityUnreadable && m_recorded.clock().priorityClass(value);
    }
    bool setPriorityClass(std::uint32_t value) override {
        classesSet.push_back(value);
        return m_recorded.clock().setPriorityClass(value);
    }

    os::RecordedMachine m_recorded;
    os::ScopedMachine m_scope;

  public:
    x86_cpu cpu;
};

cpu::AffinityMask threadAffinity() {
    return cpu::AffinityMask::threadAffinityMask().value_or(cpu::AffinityMask());
}

TEST(calculateSpeedTSC, measures_a_recorded_machine_exactly) {
    SpoiltMachine machine;
    const LogCapture log(zel::LogNotice);
    std::uint64_t hz = 0;
    EXPECT_TRUE(machine.cpu.calculateSpeedTSC(hz));
    EXPECT_EQ(hz, 3400000000u);
    EXPECT_THAT(machine.classesSet, ElementsAre(0x100, normalClass));
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(calculateSpeedTSC, says_what_went_wrong_and_puts_everything_back) {
    const std::string channel = "4 libQuarrow.cpu_x86.x86_cpu_OS: ";
    const struct {
        std::function<void(SpoiltMachine&)> spoil;
        std::string message; // empty: none
        bool raised;         // whether it got as far as raising the priority class
    } cases[] = {
        {[](SpoiltMachine& m) { m.faults().counterFrequencyUnreadable = true; },
         "96 Failed to get performance counter frequency", false},
        {[](SpoiltMachine& m) { m.countsPerSecond = 39; },
         "100 Counter frequency (39) is too low for accurate calculation", false},
        {[](SpoiltMachine& m) { m.faults().failingCounterRead = 0; },
         "111 Problem reading initial performance counter value", true},
        {[](SpoiltMachine& m) { m.faults().failingCounterRead = 1; },
         "121 Problem reading performance counter while busy waiting", true},
        {[](SpoiltMachine& m) { m.faults().failingCounterRead = 2; },
         "129 Problem reading final performance counter value", true},
        {[](SpoiltMachine& m) { m.readCounter = [](std::uint64_t& counts) { return counts = 7, true; }; },
         "121 Problem reading performance counter while busy waiting", true}, // stands still: must not hang
        {[](SpoiltMachine& m) {
             m.readCounter = [n = std::uint64_t{0}](std::uint64_t& counts) mutable {
                 return counts = n++ % 2 * 1000000, true;
             };
         },
         "", true}, // back where it began at the end: no time went by
        {[](SpoiltMachine& m) { m.faults().unpinnable = {1}; }, "158 Unable to set affinity mask : 0:0000000000000002h",
         false},
        {[](SpoiltMachine& m) { m.cpu = x86_cpu(); }, "149 RDTSC not allowed", false},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.message);
        SpoiltMachine machine;
        const cpu::AffinityMask before = threadAffinity();
        row.spoil(machine);
        const LogCapture log(zel::LogNotice);
        std::uint64_t hz = 5;
        EXPECT_FALSE(machine.cpu.calculateSpeedTSC(hz));
        EXPECT_EQ(hz, 5u);
        if (row.message.empty()) {
            EXPECT_THAT(log.numberedMessages(), IsEmpty());
        } else {
            EXPECT_THAT(log.numberedMessages(), ElementsAre(channel + row.message));
        }
        EXPECT_EQ(machine.classesSet.size(), row.raised ? 2u : 0u);
        EXPECT_EQ(machine.priority(), normalClass);
        EXPECT_EQ(threadAffinity(), before);
    }
}

TEST(calculateSpeedTSC, puts_everything_back_when_the_clock_throws) {
    SpoiltMachine machine;
    const cpu::AffinityMask before = threadAffinity();
    machine.readCounter = [](std::uint64_t&) -> bool { throw std::runtime_error("no clock"); };
    std::uint64_t hz = 5;
    EXPECT_THROW(machine.cpu.calculateSpeedTSC(hz), std::runtime_error);
    EXPECT_THAT(machine.classesSet, ElementsAre(0x100, normalClass));
    EXPECT_EQ(threadAffinity(), before);
}

TEST(calculateSpeedTSC, does_without_a_raised_priority) {
    for (const bool unreadable : {false, true}) {
        SpoiltMachine machine;
        machine.priorityUnreadable = unreadable;
        machine.faults().priorityClassRefused = !unreadable;
        std::uint64_t hz = 0;
        EXPECT_TRUE(machine.cpu.calculateSpeedTSC(hz));
        EXPECT_EQ(hz, 3400000000u);
        EXPECT_EQ(machine.classesSet.size(), unreadable ? 0u : 1u) << "what was not raised must not be put back";
    }
}

TEST(calculateSpeedTSC, accepts_a_counter_of_40_counts_a_second) {
    SpoiltMachine machine;
    machine.countsPerSecond = 40;
    std::uint64_t readings = 0;
    machine.readCounter = [&](std::uint64_t& counts) { return counts = 100 + readings++, true; };
    std::uint64_t hz = 0;
    EXPECT_TRUE(machine.cpu.calculateSpeedTSC(hz)); // the recorded counter stands still meanwhile
    EXPECT_EQ(hz, 0u);
    EXPECT_EQ(readings, 3u) << "waits for one count: the first reading, the next one, the last";
}

TEST(calculateSpeedTSC, traces_its_entry_and_exit) {
    SpoiltMachine machine;
    const LogCapture log;
    std::uint64_t hz = 0;
    machine.cpu.calculateSpeedTSC(hz);
    ASSERT_EQ(log.messages().size(), 2u);
    for (const std::string& message : log.messages()) {
        EXPECT_EQ(message.find("1 libQuarrow.cpu_x86.x86_cpu_OS: "), 0u);
        EXPECT_NE(message.find("x86_cpu::calculateSpeedTSC()"), std::string::npos);
    }
}

TEST(getSpeedMetrics, says_that_it_cannot_pin) {
    SpoiltMachine machine;
    machine.faults().unpinnable = {1};
    const LogCapture log(zel::LogNotice);
    cpu::x86_speed_metrics metrics;
    EXPECT_FALSE(machine.cpu.getSpeedMetrics(metrics));
    EXPECT_THAT(log.numberedMessages(),
                ElementsAre("4 libQuarrow.cpu_x86.x86_cpu: 215 Unable to set affinity mask : 0:0000000000000002h"));
}

// Against an interval four times as long and a clock of the standard library. The middle one of five, since on a busy
// machine anything may come between two readings.
// A wrong unit or scale shows at once; how exact the rate is is the benchmarks' to say. The best of five, since a
// loaded machine may stop this thread between a clock and a counter.
TEST(NativeTSC, runs_at_the_measured_rate) {
    using Clock = std::chrono::steady_clock;
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    ASSERT_FALSE(cpus.isEmpty());
    cpu::ScopedAffinity pin(cpus[0].getAffinityMask(), true);
    ASSERT_TRUE(pin.set());
    double best = 1;
    for (int i = 0; i < 5; ++i) {
        std::uint64_t hz = 0;
        ASSERT_TRUE(cpus[0].calculateSpeedTSC(hz));
        const Clock::time_point start = Clock::now();
        const std::uint64_t first = cpu::x86_inst::callRDTSC();
        while (Clock::now() - start < std::chrono::milliseconds(20)) {
        }
        const Clock::time_point end = Clock::now();
        const std::uint64_t last = cpu::x86_inst::callRDTSC();
        const double expected = static_cast<double>(last - first) / std::chrono::duration<double>(end - start).count();
        best = std::min(best, std::abs(static_cast<double>(hz) / expected - 1));
    }
    EXPECT_LT(best, 0.01);
}

} // namespace
