#pragma once

#include <libQuarrow/recording/formats/FormatReader.h>

namespace libQuarrow::os {

// The "Thread dumps" of CPU-Z's text report: 0x00000000, and the four registers behind tabs.
std::unique_ptr<FormatReader> makeCpuzReportReader();

} // namespace libQuarrow::os
