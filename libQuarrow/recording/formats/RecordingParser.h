#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/recording/Recording.h>

#include <string>

namespace libQuarrow::os {

// Reads a recording in any of the formats of docs/recordings.md. On failure nothing is answered and `error` says why.
// `name` is what the message calls the file.
QUARROW_EXPORT boost::optional<Recording> parseRecording(const std::string& text, const std::string& name,
                                                         RecordingError& error);

} // namespace libQuarrow::os
