#pragma once

#include <cstdint>
#include <string_view>

// Private to the library: what the reader and the writer of Quarrow's own format share.

namespace libQuarrow::os {

constexpr std::string_view quarrowHeader = "Quarrow recording "; // the version follows
constexpr std::uint32_t quarrowFormatVersion = 1;
constexpr std::string_view quarrowClosingLine = "end of recording";

} // namespace libQuarrow::os
