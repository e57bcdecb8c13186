#pragma once

#include <libQuarrow/recording/formats/FormatReader.h>

namespace libQuarrow::os {

// The output of "kcpuid -r" of Linux' tools: 0x00000000: EAX=0x0000000d, EBX=0x68747541, ...
std::unique_ptr<FormatReader> makeKcpuidFormatReader();

} // namespace libQuarrow::os
