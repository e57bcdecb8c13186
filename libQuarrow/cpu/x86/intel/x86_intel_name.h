#pragma once

#include <zel/String.h>

#include <cstdint>

// Private to the library: what an Intel processor's brand string tells. Words as on Intel's parts lists, such as
// "Intel(R) Core(TM)2 Duo CPU E8400 @ 3.00GHz".

namespace libQuarrow::cpu {

// The last word before the last "@", E8400; empty when there is none. It is only a number where Intel numbered its
// parts like that, which is the caller's to know.
zel::String intelProcessorNumber(const zel::String& brand);
// As x86_intel_info::getCpuDesignedFrequency says.
bool intelDesignedFrequency(const zel::String& brand, std::uint32_t& mhz);

enum class IntelNumberMatch : std::uint32_t {
    Exact = 0,  // the processor number equals an entry
    Prefix = 1, // the processor number begins with an entry
};

// Whether the number is in `list`, which begins with the character that separates its entries: ";E8;E7". A list or rule
// that is none is reported as a defect, and false.
bool isIntelNumberInList(const zel::String& number, const zel::String& list, IntelNumberMatch rule);

} // namespace libQuarrow::cpu
