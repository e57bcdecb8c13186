#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/recording/Recording.h>

namespace libQuarrow::os {

// What the machine that this process runs on looks like, as a recording: every processor that can be pinned, its leaves
// and sub-leaves, XCR0. None, with the reason, when the affinity cannot be read or no processor could be pinned.
QUARROW_EXPORT boost::optional<Recording> recordCurrentMachine(RecordingError& error);

} // namespace libQuarrow::os
