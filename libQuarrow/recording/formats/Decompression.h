#pragma once

#include <string>
#include <string_view>

// Private to the library.

namespace libQuarrow::os {

// Where `bytes` begin as a compressed file does, unpacks them into `unpacked`, and `bytes` are those; others stay as
// they are. Answers what is wrong and what to do, or nothing. No more than maxRecordingBytes come of it.
std::string decompress(std::string_view& bytes, std::string& unpacked);

} // namespace libQuarrow::os
