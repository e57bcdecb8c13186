#pragma once

#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

// An AMD processor built leaf by leaf: one core, MSR and TSC, extended leaves up to 0x80000008, no caches.
class AmdProcessor {
  public:
    explicit AmdProcessor(std::uint32_t signature) {
        leaf(0, {1, 0x68747541, 0x444D4163, 0x69746E65});
        leaf(1, {signature, 0, 0, 1u << 4 | 1u << 5});
        maxExtendedLeaf(0x80000008);
        leaf(0x80000002, {0x6C706D41, 0x65, 0, 0}); // "Ample"
    }
    AmdProcessor& leaf(std::uint32_t number, const libQuarrow::cpu::cpuid_args& registers, std::uint32_t subleaf = 0) {
        recorded.leaves[{number, subleaf}] = registers;
        return *this;
    }
    AmdProcessor& maxExtendedLeaf(std::uint32_t number) { return leaf(0x80000000, {number, 0, 0, 0}); }
    AmdProcessor& msr(std::uint32_t number, std::uint64_t value) {
        recorded.msrs[number] = value;
        return *this;
    }
    AmdProcessor& packageField(std::uint32_t field) {
        recorded.leaves[{0x80000001, 0}].ebx |= field << 28;
        return *this;
    }
    // Leaf 1 and leaf 0x80000008; with no cores, what a processor says whose threads are all cores but has none.
    AmdProcessor& counts(std::uint32_t cores, std::uint32_t threads) {
        recorded.leaves[{1, 0}].ebx |= threads << 16;
        recorded.leaves[{1, 0}].edx |= 1u << 28;
        recorded.leaves[{0x80000008, 0}].ecx = cores - 1;
        recorded.leaves[{0x80000001, 0}].ecx |= cores == 0 ? 2 : 0;
        return *this;
    }
    AmdProcessor& apicId(std::uint32_t id) {
        recorded.leaves[{1, 0}].ebx |= id << 24;
        return *this;
    }
    // Leaves 0x80000005 and 0x80000006 of a Phenom II: 64 KB L1 data and instruction, 512 KB L2, 6 MB L3.
    AmdProcessor& caches() {
        leaf(0x80000005, {0, 0, 0x40020140, 0x40020140});
        return leaf(0x80000006, {0, 0, 0x02008140, 0x0030B140});
    }

    libQuarrow::os::RecordedProcessor recorded;
};

// The processors as a machine, in that order in group 0.
template <class Processor>
libQuarrow::os::Recording machineOf(const std::vector<Processor>& processors) {
    libQuarrow::os::Recording recording;
    for (const Processor& processor : processors) {
        recording.processors.push_back(processor.recorded);
        recording.processors.back().bit = static_cast<std::uint8_t>(recording.processors.size() - 1);
    }
    return recording;
}

// A machine that is current as long as it lives.
struct CurrentMachine {
    explicit CurrentMachine(libQuarrow::os::Recording recording) : machine(std::move(recording)), scope(machine) {}

    libQuarrow::os::RecordedMachine machine;
    libQuarrow::os::ScopedMachine scope;
};

} // namespace testing_support
