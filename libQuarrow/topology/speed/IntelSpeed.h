#pragma once

#include <libQuarrow/topology/speed/SpeedDecoder.h>

// Private to the library: speeds and limits by the registers of Intel's processors. Those are of Intel's manual, volume
// 4 (the tables of model-specific registers, one for each generation), and of volume 3B, chapter on power and thermal
// management.

namespace libQuarrow::topology {

// Whether it is an efficient core of a hybrid: registers of the package tell of the performance cores.
bool isEfficientIntelCore(const SpeedSources& sources);

// Bus clock, multipliers and their speeds.
void readIntelSpeed(const SpeedSources& sources, ProcessorSpeed& speed);
// The frequency that the brand string ends in; 0 where there is none, and on an efficient core, whose it is not.
std::uint64_t intelNamedHertz(const SpeedSources& sources);
void readIntelLimits(const SpeedSources& sources, ProcessorLimits& limits);

} // namespace libQuarrow::topology
