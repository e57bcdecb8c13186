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
enum class LongWords { cut, whole };
// `text` in lines of at most so many units (1 at least), broken at blanks, and words that are longer behind a comma.
// One without a comma there is cut, or stays whole and its line is longer.
std::vector<zel::String> wrapped(const zel::String& text, std::size_t width, LongWords longWords = LongWords::cut);
// One line for XML or HTML, as text or between quotation marks.
std::string markup(const zel::String& text);
// One line, whatever `text` holds: control characters become blanks.
std::string oneLine(std::string text);

} // namespace quarrow
