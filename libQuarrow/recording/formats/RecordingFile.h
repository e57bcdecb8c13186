#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/recording/Recording.h>

#include <string>

namespace libQuarrow::os {

// Reads a recording in any of the formats of docs/recordings.md from a file, named in UTF-8, from a folder of
// hwloc-gather-cpuid, or from standard input when `path` is "-". On failure nothing is answered and `error` says why.
QUARROW_EXPORT boost::optional<Recording> readRecording(const std::string& path, RecordingError& error);

// Whether `path` is a folder of hwloc-gather-cpuid, so one machine for readRecording: it has a file puN.
QUARROW_EXPORT bool isRecordingFolder(const std::string& path);

} // namespace libQuarrow::os
