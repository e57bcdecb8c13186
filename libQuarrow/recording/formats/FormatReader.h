#pragma once

#include <libQuarrow/recording/Recording.h>
#include <libQuarrow/recording/formats/RecordingBuilder.h>

#include <memory>
#include <string>
#include <string_view>

// Private to the library: the formats that a recording may have, one reader for each of those that are read line by
// line. docs/recordings.md describes them.

namespace libQuarrow::os {

// How an error ends that says that a file has none of them.
constexpr const char* formatsRead =
    "name a Quarrow recording, the output of \"cpuid -r\", or a dump of another format that docs/recordings.md lists";

enum class LineKind {
    other,     // a comment, a heading, a value that other formats have too
    decisive,  // only a file of this format has such a line
    malformed, // the line began as this format's lines do, but is none: see expected()
};

// Reads a file of one format line by line.
class FormatReader {
  public:
    virtual ~FormatReader() = default;
    // A line without its end.
    virtual LineKind read(std::string_view line) = 0;
    // Whether more should follow a last line that has no line end: it is no more than the beginning of a value line, or
    // it is a heading, or the beginning of one, whose values are missing.
    virtual bool breaksOff(std::string_view line) const = 0;
    // After the last line: what should still have come. Empty when all is there.
    virtual std::string missing() const { return {}; }
    // What was read. Once, after the last line.
    virtual Recording finish() { return m_builder.finish(); }

    // What the malformed line should have been.
    const char* expected() const { return m_expected; }
    RecordingBuilder& builder() { return m_builder; }
    const RecordingBuilder& builder() const { return m_builder; }

  protected:
    LineKind malformed(const char* expected) {
        m_expected = expected;
        return LineKind::malformed;
    }

  private:
    const char* m_expected = "";
    RecordingBuilder m_builder;
};

} // namespace libQuarrow::os
