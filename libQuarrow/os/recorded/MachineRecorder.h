#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/recording/Recording.h>

namespace libQuarrow::os {

// The current machine as a recording: of every processor that can be pinned the leaves, the sub-leaves and XCR0; the
// rate of the time-stamp counter, measured; and, where a driver lets them be read, the MSRs that the library's answers
// come from. Memory and ports are left alone. Of a recorded machine everything that its recording holds. None, with the
// reason, when the affinity cannot be read or no processor could be pinned.
//
// Processors are visited by moving the thread or, with `threadAffinity` false, the whole process. No other thread may
// use the library meanwhile: it puts a machine of its own in the current one's place.
QUARROW_EXPORT boost::optional<Recording> recordCurrentMachine(RecordingError& error, bool threadAffinity = true);

} // namespace libQuarrow::os
