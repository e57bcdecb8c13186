#pragma once

#include <libQuarrow/machine/NumaNodes.h>
#include <libQuarrow/machine/SystemFrequencies.h>
#include <libQuarrow/machine/cpuid_args.h>

#include <boost/optional.hpp>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace libQuarrow::os {

// One logical processor of a recording.
struct RecordedProcessor {
    std::uint16_t group = 0; // processor group
    std::uint8_t bit = 0;    // 0 to 63: the processor's place in its group
    // Leaf and sub-leaf to the registers (EAX to EDX) that CPUID stored.
    std::map<std::pair<std::uint32_t, std::uint32_t>, cpu::cpuid_args> leaves;
    std::map<std::uint32_t, std::uint64_t> msrs;
    boost::optional<std::uint32_t> microcode; // revision of the microcode; absent: not known
    boost::optional<std::uint64_t> xcr0;      // absent: what leaf 0xD says can be enabled, where OSXSAVE is set
    SystemFrequencies frequencies;            // each absent where it is not known

    friend bool operator==(const RecordedProcessor& a, const RecordedProcessor& b) {
        return a.group == b.group && a.bit == b.bit && a.leaves == b.leaves && a.msrs == b.msrs && a.xcr0 == b.xcr0 &&
               a.microcode == b.microcode && a.frequencies == b.frequencies;
    }
    friend bool operator!=(const RecordedProcessor& a, const RecordedProcessor& b) { return !(a == b); }
};

// A whole machine as data: what a recording file holds.
struct Recording {
    std::vector<RecordedProcessor> processors;    // in the order of the file, no two at the same group and bit
    boost::optional<std::uint64_t> tscHertz;      // time-stamp counter rate; never 0
    std::map<std::uint64_t, std::uint8_t> memory; // physical address to byte
    std::map<std::uint16_t, std::uint8_t> ports;  // I/O port to byte
    NumaNodes numaNodes;                          // empty: not known
    // Bus, device and function (bits 15:8, 7:3 and 2:0) and the offset of a register, a multiple of 4 below 0x1000, to
    // its 32 bits.
    std::map<std::pair<std::uint16_t, std::uint16_t>, std::uint32_t> pci;

    friend bool operator==(const Recording& a, const Recording& b) {
        return a.processors == b.processors && a.tscHertz == b.tscHertz && a.memory == b.memory && a.ports == b.ports &&
               a.numaNodes == b.numaNodes && a.pci == b.pci;
    }
    friend bool operator!=(const Recording& a, const Recording& b) { return !(a == b); }
};

// What was wrong with a recording: one line, "<file>:<line>: <what was expected>" or "<file>: <what is wrong>".
struct RecordingError {
    std::string message;
};

// Bounds on what is read. No real machine comes near them; they keep the memory that a hostile file can take bounded.
constexpr std::size_t maxRecordingBytes = std::size_t{64} << 20;
constexpr std::size_t maxRecordedProcessors = std::size_t{1} << 18;
constexpr std::size_t maxRecordedMemoryBytes = std::size_t{1} << 20;
constexpr std::size_t maxRecordedPciRegisters = std::size_t{1} << 16;

} // namespace libQuarrow::os
