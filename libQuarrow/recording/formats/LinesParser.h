#pragma once

#include <libQuarrow/recording/formats/FormatReader.h>

#include <vector>

namespace libQuarrow::os {

using FormatReaders = std::vector<std::unique_ptr<FormatReader>>;

// Reads a text line by line, in the one of the readers' formats that it has. `name` is what messages call it.
boost::optional<Recording> parseLines(std::string_view text, const std::string& name, FormatReaders readers,
                                      RecordingError& error);

} // namespace libQuarrow::os
