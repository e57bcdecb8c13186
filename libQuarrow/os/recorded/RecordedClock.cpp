#include <libQuarrow/os/recorded/RecordedLeaves.h>
#include <libQuarrow/os/recorded/RecordedMachineState.h>

namespace libQuarrow::os {
namespace {

constexpr std::uint64_t countsPerSecondOfCounter = 10'000'000;

} // namespace

// Intel manual, CPUID leaves 0x15 (time-stamp counter and crystal clock) and 0x16 (frequencies).
boost::optional<std::uint64_t> RecordedMachineState::statedTscHertz() const {
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

// Time moves in whole seconds, so that the rate over any two readings is exact; both counters wrap round at 2^64.
std::uint64_t RecordedMachineState::rdtsc() {
    return m_seconds * m_tscHertz;
}

bool RecordedMachineState::frequency(std::uint64_t& countsPerSecond) {
    if (faults.counterFrequencyUnreadable) {
        return false;
    }
    countsPerSecond = countsPerSecondOfCounter;
    return true;
}

bool RecordedMachineState::counter(std::uint64_t& counts) {
    if (m_counterReads++ == faults.failingCounterRead) {
        return false;
    }
    counts = ++m_seconds * countsPerSecondOfCounter;
    return true;
}

bool RecordedMachineState::priorityClass(std::uint32_t& value) {
    value = m_priorityClass;
    return true;
}

bool RecordedMachineState::setPriorityClass(std::uint32_t value) {
    if (faults.priorityClassRefused) {
        return false;
    }
    m_priorityClass = value;
    return true;
}

} // namespace libQuarrow::os
