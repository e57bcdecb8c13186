#pragma once

#include <cstdint>

// Private to the library: the ranges of CPUID leaves that are left to hypervisors. Each interface that one offers has a
// range of its own, in which the first leaf names the highest and, in EBX, ECX and EDX, whose interface it is (Xen,
// public/arch-x86/cpuid.h; Linux, asm/processor.h).

namespace libQuarrow {

constexpr std::uint32_t hypervisorRange = 0x40000000;
constexpr std::uint32_t hypervisorRangeSize = 0x100;
constexpr std::uint32_t mostHypervisorRanges = 16;

// Whether the range that begins at leaf `first`, not the first of all ranges, is there: that leaf names one of its own.
constexpr bool isHypervisorRange(std::uint32_t first, std::uint32_t eax) {
    return eax >= first && eax < first + hypervisorRangeSize;
}

} // namespace libQuarrow
