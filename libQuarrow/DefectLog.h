#pragma once

#include <zel/Log.h>

// Private to the library: the channel of routines that were asked something that makes no sense.

namespace libQuarrow {

inline zel::LogChannel& defectLog() {
    return zel::LogFactory::channel("DEFECT.GENERIC");
}

} // namespace libQuarrow
