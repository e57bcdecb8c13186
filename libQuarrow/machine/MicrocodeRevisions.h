#pragma once

#include <cstdint>
#include <map>
#include <utility>

namespace libQuarrow::os {

// Processor group and place in it (0 to 63) of a logical processor to the revision of the microcode that it runs.
using MicrocodeRevisions = std::map<std::pair<std::uint16_t, std::uint8_t>, std::uint32_t>;

} // namespace libQuarrow::os
