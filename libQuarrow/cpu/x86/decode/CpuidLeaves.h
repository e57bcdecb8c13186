#pragma once

#include <libQuarrow/machine/cpuid_args.h>

#include <cstdint>
#include <vector>

// Private to the library: which leaves and sub-leaves a processor has. Each leaf's own rule of where its sub-leaves end
// is known here and nowhere else.

namespace libQuarrow::cpu {

class CpuidReader;

struct CpuidLeaf {
    std::uint32_t leaf;
    std::uint32_t subleaf;
    cpuid_args registers;
};

// All that the processor answers, range by range in the order of leaves and sub-leaves. What is all zero is left out,
// since absent leaves and sub-leaves read so; leaf 0 is always there. Whatever the processor says, it ends.
std::vector<CpuidLeaf> readAllLeaves(CpuidReader& cpuid);

// The smaller ranges are a few makers' own: whether this processor can have the one that begins at `first`. Others
// answer them with whatever their highest leaf holds. True for all other ranges.
bool mayHaveRange(CpuidReader& cpuid, std::uint32_t first);

namespace cpuid_ranges {

constexpr std::uint32_t xeonPhi = 0x20000000;
constexpr std::uint32_t hypervisor = 0x40000000;
constexpr std::uint32_t extended = 0x80000000;
constexpr std::uint32_t transmeta = 0x80860000;
constexpr std::uint32_t amdGreeting = 0x8FFFFFFE; // this one and the next
constexpr std::uint32_t centaur = 0xC0000000;     // and Zhaoxin

} // namespace cpuid_ranges
} // namespace libQuarrow::cpu
