#pragma once

#include <libQuarrow/machine/MicrocodeRevisions.h>

#include <string>

namespace libQuarrow::os {

// The revisions that the kernel tells without root: in `folder` (/sys/devices/system/cpu) one file for each processor,
// where there are such; guests and kernels that keep them to root have all of them in `report` (/proc/cpuinfo).
MicrocodeRevisions readMicrocodeRevisions(const std::string& folder, const std::string& report);

} // namespace libQuarrow::os
