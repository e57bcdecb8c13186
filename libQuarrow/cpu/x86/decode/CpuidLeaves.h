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

constexpr std::uint32_t mostLeaves = 0x100; // no range has more
constexpr std::uint32_t xeonPhi = 0x20000000;
constexpr std::uint32_t hypervisor = 0x40000000;
constexpr std::uint32_t mostHypervisors = 16; // whatever a hypervisor says
constexpr std::uint32_t extended = 0x80000000;
constexpr std::uint32_t transmeta = 0x80860000;
constexpr std::uint32_t amdGreeting = 0x8FFFFFFE; // this one and the next
constexpr std::uint32_t centaur = 0xC0000000;     // and Zhaoxin

} // namespace cpuid_ranges

// Each interface that a hypervisor offers has a range of its own, one behind the other. Its first leaf names the
// highest and, in EBX, ECX and EDX, whose interface it is (Xen, public/arch-x86/cpuid.h; Linux, asm/processor.h).
// `number` is 0 for the first of them.
constexpr std::uint32_t hypervisorRange(std::uint32_t number) {
    return cpuid_ranges::hypervisor + number * cpuid_ranges::mostLeaves;
}
constexpr bool isHypervisorLeaf(std::uint32_t leaf) {
    return leaf >> 16 == cpuid_ranges::hypervisor >> 16;
}

// Whether the highest leaf that a range's first one names is of that range, as it is wherever the range is there.
constexpr bool namesLeafOfRange(std::uint32_t highest, std::uint32_t first) {
    return highest >= first && highest - first < cpuid_ranges::mostLeaves;
}

} // namespace libQuarrow::cpu
