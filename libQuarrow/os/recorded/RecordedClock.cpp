#include <libQuarrow/os/recorded/RecordedClock.h>

#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/os/recorded/RecordedLeaves.h>

namespace libQuarrow::os {
namespace {

constexpr std::uint64_t countsPerSecondOfCounter = 10'000'000;
constexpr std::uint64_t madeUpTscHertz = 1'000'000'000;

// The time-stamp counter's rate, where the recording tells it: what it says itself, else what the leaves of its first
// processor do.
boost::optional<std::uint64_t> statedTscHertz(const Recording& recording) {
    if (recording.tscHertz || recording.processors.empty()) {
        return recording.tscHertz;
    }
    const auto leaf = [&recording](std::uint32_t number) {
        const cpu::cpuid_args* found = findLeaf(recording.processors.front(), number, 0);
        return found != nullptr ? *found : cpu::cpuid_args();
    };
    const std::uint64_t hertz = cpu::tscHertz(cpu::CrystalLeaf(leaf(cpu::CrystalLeaf::number)),
                                              cpu::FrequencyLeaf(leaf(cpu::FrequencyLeaf::number)));
    return boost::make_optional(hertz != 0, hertz);
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
