#pragma once

#include <libQuarrow/machine/NumaNodes.h>

#include <optional>
#include <string>

namespace libQuarrow::os {

// The nodes that the kernel shows in `folder` (/sys/devices/system/node): a list of them, and a folder node<number> for
// each. None where it shows none.
std::optional<NumaNodes> readNumaNodes(const std::string& folder);

} // namespace libQuarrow::os
