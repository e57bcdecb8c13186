#pragma once

#include <libQuarrow/recording/Recording.h>

namespace libQuarrow::os {

// Private to the library: what CPUID and XGETBV answer on the processor that the thread is pinned to. Its place is left
// at 0.
RecordedProcessor recordProcessor();

} // namespace libQuarrow::os
