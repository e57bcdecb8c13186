#pragma once

#include <libQuarrow/cpu/x86/decode/MsrReader.h>
#include <libQuarrow/machine/SystemFrequencies.h>
#include <libQuarrow/topology/ProcessorLimits.h>
#include <libQuarrow/topology/ProcessorSpeed.h>
#include <libQuarrow/topology/decode/ProcessorFacts.h>
#include <libQuarrow/topology/speed/SpeedMeasurement.h>

// Private to the library: from one processor's leaves and registers to how fast it runs and how far it may go.

namespace libQuarrow::cpu {
class CpuidReader;
}

namespace libQuarrow::topology {

// What a processor is asked by. Everything outlives it.
struct SpeedSources {
    cpu::CpuidReader& cpuid;
    const cpu::MsrReader& readMsr;
    const ModelFacts& model; // who it is, and the kind of its core
};

ProcessorSpeed decodeSpeed(const SpeedSources& sources, const MeasuredSpeed& measured,
                           const os::SystemFrequencies& system);
ProcessorLimits decodeLimits(const SpeedSources& sources);

} // namespace libQuarrow::topology
