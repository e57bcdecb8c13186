#pragma once

#include <zel/Log.h>

// Private to the library: the channel of the Intel code.

namespace libQuarrow::cpu {

inline zel::LogChannel& intelLog() {
    static zel::LogChannel& channel = zel::LogFactory::channel("libQuarrow.cpu_x86.x86_intel_info");
    return channel;
}

} // namespace libQuarrow::cpu
