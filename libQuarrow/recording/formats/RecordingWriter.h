#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/recording/Recording.h>

#include <iosfwd>

namespace libQuarrow::os {

// Writes Quarrow's own format. Reading it back gives the same recording; writing that again gives the same text. (A
// recording with no leaf at all can be written but not read back.)
QUARROW_EXPORT void writeRecording(const Recording& recording, std::ostream& out);

// Writes the leaves alone, as the raw output of the cpuid program, which "cpuid -f" and many other programs read.
// Processor n is bit n % 64 of group n / 64.
QUARROW_EXPORT void writeCpuidRaw(const Recording& recording, std::ostream& out);

} // namespace libQuarrow::os
