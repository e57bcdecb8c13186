#pragma once

#include <libQuarrow/machine/NumaNodes.h>

#include <optional>
#include <string>

namespace libQuarrow::os {

// The nodes that the kernel shows in `folder` (/sys/devices/system/node): a list of them, and a folder node<number> for
// each. None where it shows none.
std::optional<NumaNodes> readNumaNodes(const std::string& folder);
// The only node that there can be until the system is started again, whatever memory and processors come and go. None
// where there can be several, or the kernel does not say.
std::optional<std::uint32_t> onlyPossibleNode(const std::string& folder);

} // namespace libQuarrow::os
