#pragma once

#include <zel/String.h>

#include <string>

namespace quarrow {

// UTF-8 for people. Texts that come from registers can hold anything, so control characters other than the line feed
// become U+FFFD: a recording must not steer the terminal it is shown on.
std::string printable(const zel::String& text);
// "Label               : value" and a line feed, in the columns of the processor report.
std::string line(const zel::String& label, const zel::String& value);
// One line, whatever `text` holds: control characters become blanks.
std::string oneLine(std::string text);

} // namespace quarrow
