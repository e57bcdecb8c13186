#pragma once

#include <cstdint>
#include <map>

namespace libQuarrow::os {

// The operating system's NUMA nodes: node number to the masks of its processors by processor group. A node without
// processors has no mask.
using NumaNodes = std::map<std::uint32_t, std::map<std::uint16_t, std::uint64_t>>;

} // namespace libQuarrow::os
