#pragma once

#include <libQuarrow/cpu/x86/decode/MsrReader.h>
#include <zel/Array.h>

#include <cstdint>

// Private to the library: how far an Intel processor's multiplier may rise. `cores` are those of the package.

namespace libQuarrow::cpu {

class CpuidReader;
class IntelIdentity;
struct IntelTurboRatioLimit;

// Replaces `limits`. Whether the table could be read; it may hold no ratio all the same.
bool readIntelTurboRatioLimits(const IntelIdentity& intel, std::uint32_t cores, CpuidReader& cpuid,
                               const MsrReader& readMsr, zel::Array<IntelTurboRatioLimit>& limits);
// The highest of them, 0 where there is none, and logs them all. `busClock` and `maxSpeed` in Hz; `maxSpeed` is written
// only when there is a ratio.
bool findIntelMaxTurbo(const IntelIdentity& intel, std::uint32_t cores, CpuidReader& cpuid, const MsrReader& readMsr,
                       std::uint64_t busClock, std::uint32_t& maxRatio, std::uint64_t& maxSpeed);

} // namespace libQuarrow::cpu
