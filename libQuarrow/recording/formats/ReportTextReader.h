#pragma once

#include <libQuarrow/recording/formats/FormatReader.h>

namespace libQuarrow::os {

// The report text of most public dump collections: CPUID 00000000: 0000000D-68747541-444D4163-69746E65.
std::unique_ptr<FormatReader> makeReportTextReader();

} // namespace libQuarrow::os
