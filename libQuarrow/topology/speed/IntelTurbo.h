#pragma once

#include <libQuarrow/topology/ProcessorLimits.h>
#include <libQuarrow/topology/speed/SpeedDecoder.h>

#include <cstdint>
#include <vector>

// Private to the library: how far the multiplier of an Intel processor may rise.

namespace libQuarrow::topology {

// The cores of a package, as sold; 0 where they are not told, and on a hybrid, whose kinds are told together.
std::uint32_t intelCoresOfPackage(const SpeedSources& sources);

// Of the processor's own kind of core, for as many active cores as the package has. Empty where turbo is not there or
// switched off, or the registers cannot be read. For models from Nehalem and Silvermont on.
std::vector<TurboRatio> readIntelTurbo(const SpeedSources& sources);

} // namespace libQuarrow::topology
