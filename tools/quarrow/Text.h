#pragma once

#include <libQuarrow/document/ProcessorWords.h>
#include <zel/String.h>

#include <string>
#include <vector>

namespace quarrow {

using libQuarrow::document::printable;
// The same, of a report one of whose lines holds `text`, which stays on that line.
std::string printable(const zel::String& report, const zel::String& text);
// "Label               : value" and a line feed, in the columns of the processor report.
std::string line(const zel::String& label, const zel::String& value);
// `text` in lines of at most so many units (1 at least), broken at blanks where there are any.
std::vector<zel::String> wrapped(const zel::String& text, std::size_t width);
// One line for XML or HTML, as text or between quotation marks.
std::string markup(const zel::String& text);
// One line, whatever `text` holds: control characters become blanks.
std::string oneLine(std::string text);

} // namespace quarrow
