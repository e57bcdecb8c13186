#pragma once

#include <libQuarrow/recording/Recording.h>

#include <string_view>

// Private to the library.

namespace libQuarrow::os {

// Reads the JSON of a Firecracker guest's processor, as its cpu-template-helper dumps it. `name` is what messages call
// the file.
boost::optional<Recording> parseFirecrackerJson(std::string_view text, const std::string& name, RecordingError& error);

} // namespace libQuarrow::os
