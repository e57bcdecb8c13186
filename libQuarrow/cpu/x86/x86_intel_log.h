#pragma once

#include <zel/Log.h>

// Private to the library: the channels of the Intel code.

namespace libQuarrow::cpu {

inline zel::LogChannel& intelLog() {
    static zel::LogChannel& channel = zel::LogFactory::channel("libQuarrow.cpu_x86.x86_intel_info");
    return channel;
}

// For routines that were asked something that makes no sense.
inline zel::LogChannel& defectLog() {
    return zel::LogFactory::channel("DEFECT.GENERIC");
}

} // namespace libQuarrow::cpu
