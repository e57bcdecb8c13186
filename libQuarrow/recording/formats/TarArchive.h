#pragma once

#include <boost/optional.hpp>

#include <string>
#include <string_view>
#include <vector>

// Private to the library.

namespace libQuarrow::os {

struct ArchivedFile {
    std::string path;
    std::string_view contents; // within the archive
};

// Whether the bytes begin as an archive of tar does, in any of its formats: with a header whose checksum is right.
bool isTarArchive(std::string_view bytes);

// The ordinary files of an archive; none when it is damaged or breaks off.
boost::optional<std::vector<ArchivedFile>> filesInTar(std::string_view bytes);

} // namespace libQuarrow::os
