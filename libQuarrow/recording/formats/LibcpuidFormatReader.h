#pragma once

#include <libQuarrow/recording/formats/FormatReader.h>

namespace libQuarrow::os {

// The raw files of libcpuid: basic_cpuid[0]=0000000d 756e6547 6c65746e 49656e69.
std::unique_ptr<FormatReader> makeLibcpuidFormatReader();

} // namespace libQuarrow::os
