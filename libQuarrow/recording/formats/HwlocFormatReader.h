#pragma once

#include <libQuarrow/recording/formats/FormatReader.h>

namespace libQuarrow::os {

// What hwloc-gather-cpuid writes of a processor: 5 4 0 1 0 => 1c004122 1c0003f 3f 0.
std::unique_ptr<FormatReader> makeHwlocFormatReader();

} // namespace libQuarrow::os
