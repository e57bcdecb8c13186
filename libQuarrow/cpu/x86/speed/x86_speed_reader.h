#pragma once

#include <libQuarrow/cpu/x86/decode/MsrReader.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>
#include <libQuarrow/machine/bits.h>

#include <cstdint>

// Private to the library: what the speed readers of all makers share.

namespace libQuarrow::cpu {

class CpuidReader;
class x86_cpu;

// In whole hertz, rounded.
std::uint64_t hertzOf(double megahertz);

// Sets the bus clock that a maker's registers told, and works out the speeds of the multipliers from it. It need not be
// a whole number of hertz; 0 where it is not known.
void setBusClock(double megahertz, x86_speed_metrics& metrics);

// Completes what a maker's registers told (bus clock, multipliers, turbo ratio): what they left open is filled from
// CPUID leaves 0x15 and 0x16 and from `designedMHz` (0: not known), speeds are worked out from multipliers, and the
// effective speed is measured. Hold the processor's pin around it. True when anything is known afterwards.
bool completeSpeedMetrics(CpuidReader& cpuid, const MsrReader& readMsr, std::uint32_t designedMHz,
                          x86_speed_metrics& metrics);
// The same by the processor's guarded instructions.
bool completeSpeedMetrics(const x86_cpu& cpu, std::uint32_t designedMHz, x86_speed_metrics& metrics);

} // namespace libQuarrow::cpu
