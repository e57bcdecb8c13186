#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace libQuarrow::os {

// The text of a small file of the kernel's; of a longer one its first page. Empty where it cannot be read.
std::string readSystemFile(const std::string& path);
// A list as the kernel shows it, by 64s: of processors, or of nodes. Empty where it shows none, as of the processors of
// a node that has memory alone.
std::map<std::uint16_t, std::uint64_t> readSystemList(const std::string& path);

} // namespace libQuarrow::os
