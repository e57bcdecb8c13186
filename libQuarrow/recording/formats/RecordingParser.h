#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/recording/Recording.h>

#include <string>

namespace libQuarrow::os {

// Reads a recording from memory: the bytes of a file in any of the formats of docs/recordings.md, compressed or not. On
// failure nothing is answered and `error` says why. `name` is what the message calls the file.
QUARROW_EXPORT boost::optional<Recording> parseRecording(const std::string& bytes, const std::string& name,
                                                         RecordingError& error);

} // namespace libQuarrow::os
