#pragma once

#include <libQuarrow/recording/Recording.h>

#include <string_view>

// Private to the library.

namespace libQuarrow::os {

// Reads the XML of RJCP's CpuIdWin. `name` is what messages call the file.
boost::optional<Recording> parseCpuIdWinXml(std::string_view text, const std::string& name, RecordingError& error);

} // namespace libQuarrow::os
