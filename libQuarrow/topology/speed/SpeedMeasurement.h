#pragma once

#include <libQuarrow/cpu/x86/decode/MsrReader.h>
#include <libQuarrow/topology/features/FeatureSet.h>

#include <cstdint>
#include <optional>

// Private to the library: what of a processor's speed has to be measured.

namespace libQuarrow::topology {

struct MeasuredSpeed {
    std::optional<std::uint64_t> tscHertz; // above 0
    std::optional<double> effectiveRatio;  // of the real frequency to the base frequency, above 0
};

// Of the processor that the thread is on, in some 25 milliseconds. Nothing where the machine's clock does not tell real
// time, as that of a recording without a rate.
MeasuredSpeed measureSpeed(const FeatureSet& features, const cpu::MsrReader& readMsr);

} // namespace libQuarrow::topology
