// The time-stamp counter's rate: what it says, and that it leaves everything as it found it.

#include <libQuarrow/cpu/x86/x86_speed_metrics.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/LogCapture.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <stdexcept>

using namespace libQuarrow;
using namespace testing_support;
using cpu::x86_cpu;

namespace {

// A machine of two processors, `cpu` the second one, with a clock that a test can spoil. As recorded the clock counts
// 10 million in a second and every reading is a second later; the time-stamp counter runs at 1 GHz.
class SpoiltMachine : public CurrentMachine, private os::Clock {
  public:
    SpoiltMachine() : CurrentMachine({IntelProcessor(0x306C3), IntelProcessor(0x306C3)}), cpu(maskOf(1), true, 0, 0) {
        counting.clockInstead = this;
    }

    std::uint64_t countsPerSecond = 10000000;
    std::vector<std::uint64_t> readings; // instead of what the counter reads; the last one stays
    bool standsStill = false;            // at 7, and takes no time to say so: it is asked 2^24 times
    bool throws = false;
    bool priorityUnreadable = false;
    std::string classesSet;
    x86_cpu cpu;

  private:
    bool frequency(std::uint64_t& value) override {
        const bool done = machine.clock().frequency(value);
        value = countsPerSecond;
        return done;
    }
    bool counter(std::uint64_t& counts) override {
        if (standsStill) {
            counts = 7;
            return true;
        }
        if (throws) {
            throw std::runtime_error("no clock");
        }
        const bool done = machine.clock().counter(counts);
        counts = readings.empty() ? counts : readings.front();
        readings.erase(readings.begin(), readings.begin() + (readings.size() > 1 ? 1 : 0));
        return done;
    }
    bool priorityClass(std::uint32_t& value) override {
        return !priorityUnreadable && machine.clock().priorityClass(value);
    }
    bool setPriorityClass(std::uint32_t value) override {
        classesSet += zel::String::SprintfFormat("%X ", value).toUtf8();
        return machine.clock().setPriorityClass(value);
    }
};

// The rate, the messages, or what was thrown.
std::string measured(const x86_cpu& cpu) {
    const LogCapture log(zel::LogNotice);
    std::uint64_t hz = 5;
    try {
        if (cpu.calculateSpeedTSC(hz)) {
            return std::to_string(hz) + " Hz";
        }
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    EXPECT_EQ(hz, 5u);
    std::string text;
    for (const std::string& message : log.numberedMessages()) {
        text += message;
    }
    return text;
}

TEST(calculateSpeedTSC, says_what_it_found_and_puts_everything_back) {
    using Machine = SpoiltMachine;
    const char* const raised = "100 20 "; // the priority class, there and back
    const struct {
        std::function<void(Machine&)> spoil;
        std::string outcome; // messages without priority and channel
        std::string classesSet;
    } cases[] = {
        // clang-format off
        {[](Machine&) {}, "1000000000 Hz", raised},
        // What was not raised must not be put back.
        {[](Machine& m) { m.faults().priorityClassRefused = true; }, "1000000000 Hz", "100 "},
        {[](Machine& m) { m.priorityUnreadable = true; }, "1000000000 Hz", ""},
        {[](Machine& m) { m.faults().counterFrequencyUnreadable = true; },
         "96 Failed to get performance counter frequency", ""},
        {[](Machine& m) { m.countsPerSecond = 39; },
         "100 Counter frequency (39) is too low for accurate calculation", ""},
        // Waits for one count, while 2000000000 ticks go by and the counter counts two.
        {[](Machine& m) { m.countsPerSecond = 40; m.readings = {100, 101, 102}; }, "40000000000 Hz", raised},
        // For two, not for the three that would be a 40th of 120: 3000000000 ticks in four counts.
        {[](Machine& m) { m.countsPerSecond = 119; m.readings = {100, 101, 102, 104}; }, "89250000000 Hz", raised},
        {[](Machine& m) { m.faults().failingCounterRead = 0; },
         "111 Problem reading initial performance counter value", raised},
        {[](Machine& m) { m.faults().failingCounterRead = 1; },
         "121 Problem reading performance counter while busy waiting", raised},
        {[](Machine& m) { m.faults().failingCounterRead = 2; },
         "129 Problem reading final performance counter value", raised},
        // Must not hang.
        {[](Machine& m) { m.standsStill = true; }, "121 Problem reading performance counter while busy waiting", raised},
        // Back where it began at the end: no time went by.
        {[](Machine& m) { m.readings = {0, 1000000, 0}; },
         "137 Performance counter did not advance while measuring", raised},
        {[](Machine& m) { m.faults().unpinnable = {1}; }, "158 Unable to set affinity mask : 0:0000000000000002h", ""},
        {[](Machine& m) { m.cpu = x86_cpu(); }, "149 RDTSC not allowed", ""},
        {[](Machine& m) { m.throws = true; }, "no clock", raised},
        // clang-format on
    };
    for (const auto& row : cases) {
        Machine machine;
        row.spoil(machine);
        std::string outcome = measured(machine.cpu);
        const std::string channel = "4 libQuarrow.cpu_x86.x86_cpu_OS: ";
        if (outcome.compare(0, channel.size(), channel) == 0) {
            outcome.erase(0, channel.size());
        }
        EXPECT_EQ(outcome, row.outcome);
        EXPECT_EQ(machine.classesSet, row.classesSet) << row.outcome;
        EXPECT_TRUE(cpu::AffinityMask::threadAffinityMask() == (maskOf(0) | maskOf(1))) << row.outcome;
    }
}

TEST(calculateSpeedTSC, traces_its_entry_and_exit) {
    const SpoiltMachine machine;
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
    ASSERT_EQ(log.numberedMessages().size(), 1u);
    EXPECT_EQ(log.numberedMessages()[0],
              "4 libQuarrow.cpu_x86.x86_cpu: 215 Unable to set affinity mask : 0:0000000000000002h");
}

// A wrong unit or scale shows at once; how exact the rate is is the benchmarks' to say. The best of five, since a
// loaded machine may stop this thread between a clock and a counter.
TEST(NativeTSC, runs_at_the_measured_rate) {
    using Clock = std::chrono::steady_clock;
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true) && !cpus.isEmpty());
    double best = 1;
    for (int i = 0; i < 5; ++i) {
        std::uint64_t hz = 0, first = 0, last = 0;
        ASSERT_TRUE(cpus[0].calculateSpeedTSC(hz) && cpus[0].callRDTSC(first));
        const Clock::time_point start = Clock::now();
        while (Clock::now() - start < std::chrono::milliseconds(20)) {
        }
        ASSERT_TRUE(cpus[0].callRDTSC(last));
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        best = std::min(best, std::abs(static_cast<double>(hz) * seconds / static_cast<double>(last - first) - 1));
    }
    EXPECT_LT(best, 0.01);
}

} // namespace
