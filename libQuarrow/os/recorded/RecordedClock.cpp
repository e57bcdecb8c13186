#include <libQuarrow/os/recorded/RecordedClock.h>

#include <libQuarrow/os/recorded/RecordedLeaves.h>

namespace libQuarrow::os {
namespace {

constexpr std::uint64_t countsPerSecondOfCounter = 10'000'000;
constexpr std::uint64_t madeUpTscHertz = 1'000'000'000;

// The time-stamp counter's rate, where the recording tells it. Intel manual, CPUID leaves 0x15 (time-stamp counter and
// crystal clock) and 0x16 (frequencies).
boost::optional<std::uint64_t> statedTscHertz(const Recording& recording) {
    if (recording.tscHertz || recording.processors.empty()) {
        return recording.tscHertz;
    }
    const RecordedProcessor& first = recording.processors.front();
    const cpu::cpuid_args* crystal = findLeaf(first, 0x15, 0); // denominator, numerator, Hz
    const std::uint64_t hertz =
        crystal != nullptr && crystal->eax != 0 ? std::uint64_t{crystal->ecx} * crystal->ebx / crystal->eax : 0;
    if (hertz != 0) {
        return hertz;
    }
    const cpu::cpuid_args* frequencies = findLeaf(first, 0x16, 0);
    const std::uint64_t baseMegahertz = frequencies != nullptr ? frequencies->eax & 0xFFFF : 0;
    return boost::make_optional(baseMegahertz != 0, baseMegahertz * 1'000'000);
}

} // namespace

RecordedClock::RecordedClock(const Recording& recording, const Faults& faults)
    : RecordedClock(statedTscHertz(recording), faults) {}

RecordedClock::RecordedClock(const boost::optional<std::uint64_t>& tscHertz, const Faults& faults)
    : m_faults(faults), m_isTscRateKnown(tscHertz.has_value()), m_tscHertz(tscHertz.value_or(madeUpTscHertz)) {}

bool RecordedClock::frequency(std::uint64_t& countsPerSecond) {
    if (m_faults.counterFrequencyUnreadable) {
        return false;
    }
    countsPerSecond = countsPerSecondOfCounter;
    return true;
}

bool RecordedClock::counter(std::uint64_t& counts) {
    if (m_counterReads++ == m_faults.failingCounterRead) {
        return false;
    }
    counts = ++m_seconds * countsPerSecondOfCounter;
    return true;
}

bool RecordedClock::priorityClass(std::uint32_t& value) {
    value = m_priorityClass;
    return true;
}

bool RecordedClock::setPriorityClass(std::uint32_t value) {
    if (m_faults.priorityClassRefused) {
        return false;
    }
    m_priorityClass = value;
    return true;
}

} // namespace libQuarrow::os
