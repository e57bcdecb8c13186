#pragma once

#include <libQuarrow/recording/formats/FormatReader.h>

namespace libQuarrow::os {

// The raw output of the cpuid program, and Quarrow's own format, which adds to it.
std::unique_ptr<FormatReader> makeQuarrowFormatReader();

} // namespace libQuarrow::os
