#pragma once

#include <libQuarrow/topology/speed/SpeedDecoder.h>

// Private to the library: speeds and limits by the registers of AMD's and Hygon's processors, after the BIOS and kernel
// developer's guides (up to family 16h) and the processor programming references (17h and later).

namespace libQuarrow::topology {

// Multipliers and their speeds by the P-states.
void readAmdSpeed(const SpeedSources& sources, const std::optional<std::uint64_t>& tscHertz, ProcessorSpeed& speed);
void readAmdLimits(const SpeedSources& sources, ProcessorLimits& limits);

} // namespace libQuarrow::topology
