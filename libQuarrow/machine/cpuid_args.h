#pragma once

#include <cstdint>

namespace libQuarrow::cpu {

// The registers of one CPUID execution. All four are loaded before the instruction and stored after it.
struct cpuid_args {
    std::uint32_t eax = 0; // in: leaf number
    std::uint32_t ebx = 0; // in: callers set 0
    std::uint32_t ecx = 0; // in: sub-leaf number
    std::uint32_t edx = 0; // in: callers set 0

    friend bool operator==(const cpuid_args& a, const cpuid_args& b) {
        return a.eax == b.eax && a.ebx == b.ebx && a.ecx == b.ecx && a.edx == b.edx;
    }
    friend bool operator!=(const cpuid_args& a, const cpuid_args& b) { return !(a == b); }
};

} // namespace libQuarrow::cpu
