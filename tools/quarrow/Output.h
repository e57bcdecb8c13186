#pragma once

#include <string>

namespace quarrow {

// Writes all of `text` to standard output and flushes it. Throws Failure when that cannot be done.
void writeOutput(const std::string& text);
// Replaces or makes the file `path` (UTF-8): whole, or not at all. What is no plain file (a device, a pipe) is written
// to as it stands. Throws Failure.
void writeFile(const std::string& path, const std::string& text);

} // namespace quarrow
