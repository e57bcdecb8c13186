#pragma once

#include <libQuarrow/recording/Recording.h>

#include <string_view>

// Private to the library: what hwloc-gather-cpuid writes, a folder with a file puN for each logical processor N.

namespace libQuarrow::os {

// The texts of the files by their processors' numbers.
using ProcessorFiles = std::map<std::uint32_t, std::string>;

// The number of the processor whose values a file of that name holds. None for all other names.
boost::optional<std::uint32_t> processorFileNumber(std::string_view fileName);

// Reads the files of a folder; processor N is bit N % 64 of group N / 64. `name` is what messages call the folder.
boost::optional<Recording> parseProcessorFiles(const ProcessorFiles& files, const std::string& name,
                                               RecordingError& error);
// The same of the one such folder that an archive of tar holds, at whatever place.
boost::optional<Recording> parseProcessorArchive(std::string_view archive, const std::string& name,
                                                 RecordingError& error);

} // namespace libQuarrow::os
