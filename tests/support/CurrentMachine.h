#pragma once

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <tests/support/CountingMachine.h>

#include <initializer_list>
#include <vector>

namespace testing_support {

// A processor built leaf by leaf; `Self` is the class that derives from this one.
template <class Self>
struct BuiltProcessor {
    Self& leaf(std::uint32_t number, const libQuarrow::cpu::cpuid_args& registers, std::uint32_t subleaf = 0) {
        recorded.leaves[{number, subleaf}] = registers;
        return static_cast<Self&>(*this);
    }
    Self& msr(std::uint32_t number, std::uint64_t value) {
        recorded.msrs[number] = value;
        return static_cast<Self&>(*this);
    }
    operator const libQuarrow::os::RecordedProcessor&() const { return recorded; }

    libQuarrow::os::RecordedProcessor recorded;
};

// The machine of those processors, 64 in a group in that order, current as long as it lives. What it does is counted.
struct CurrentMachine {
    template <class Processor>
    explicit CurrentMachine(const std::vector<Processor>& processors)
        : machine(recording(processors)), counting(machine), scope(counting) {}
    explicit CurrentMachine(std::initializer_list<libQuarrow::os::RecordedProcessor> processors)
        : CurrentMachine(std::vector(processors)) {}

    template <class Processor>
    static libQuarrow::os::Recording recording(const std::vector<Processor>& processors) {
        libQuarrow::os::Recording all;
        for (const Processor& processor : processors) {
            const std::size_t number = all.processors.size();
            all.processors.push_back(processor);
            all.processors.back().group += static_cast<std::uint16_t>(number / 64);
            all.processors.back().bit = static_cast<std::uint8_t>(number % 64);
        }
        return all;
    }
    CountingMachine::Counts& counts() { return counting.counts; }
    libQuarrow::os::Faults& faults() { return machine.faults(); }

    libQuarrow::os::RecordedMachine machine;
    CountingMachine counting;
    libQuarrow::os::ScopedMachine scope;
};

inline libQuarrow::cpu::AffinityMask maskOf(unsigned int bit) {
    return libQuarrow::cpu::AffinityMask(libQuarrow::cpu::WinAffinity(std::uint64_t{1} << bit));
}

// The machine of one processor.
struct OneProcessor : CurrentMachine {
    explicit OneProcessor(const libQuarrow::os::RecordedProcessor& processor)
        : CurrentMachine({processor}), cpu(maskOf(0), true, 0, 0) {}

    libQuarrow::cpu::x86_cpu cpu;
};

} // namespace testing_support
