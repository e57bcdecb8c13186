#pragma once

#include <string>

namespace quarrow {

// Writes all of `text` to standard output and flushes it. False when its reader has gone, as `head` does, which
// is not an error. Throws Failure when it cannot be written for any other reason.
bool writeOutput(const std::string& text);
// Replaces or makes the file `path` (UTF-8): whole, or not at all. What is not a plain file (a device, a pipe) is
// written to directly. Throws Failure.
void writeFile(const std::string& path, const std::string& text);

} // namespace quarrow
