#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/Temperature.h>

#include <boost/optional.hpp>

#include <cstdint>

namespace libQuarrow::cpu {

// What is known of a processor's temperature at one moment. What is not known is empty.
struct QUARROW_EXPORT CpuTemperatureInfo {
    boost::optional<zel::Temperature> temperature;     // now
    boost::optional<zel::Temperature> threshold;       // where the processor starts to throttle
    boost::optional<zel::Temperature> thresholdOffset; // from now to the threshold; negative above it
    boost::optional<std::uint16_t> reserved;           // for accessors' own use; this library leaves it empty
};

} // namespace libQuarrow::cpu
