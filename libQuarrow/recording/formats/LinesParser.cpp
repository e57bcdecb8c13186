#include <libQuarrow/recording/formats/LinesParser.h>

#include <libQuarrow/recording/formats/LineCursor.h>

#include <algorithm>

namespace libQuarrow::os {
namespace {

constexpr const char* brokenOff = "the file breaks off here: ";

// Every format reads along until one finds a line that only it can have; from then on that one reads alone.
class LinesParser {
  public:
    LinesParser(std::string_view text, const std::string& name, FormatReaders readers)
        : m_text(text), m_rest(text), m_name(name) {
        for (auto& reader : readers) {
            m_candidates.push_back({std::move(reader), {}});
        }
    }

    boost::optional<Recording> parse(RecordingError& error);

  private:
    struct Candidate {
        std::unique_ptr<FormatReader> reader;
        std::string mistake; // the first one, while the format is not settled
    };

    bool readLine(std::string_view line, bool terminated);
    bool note(Candidate& candidate, const std::string& mistake);
    bool settle(std::size_t index);
    boost::optional<Recording> finish();
    bool fail(const std::string& message) {
        m_message = message;
        return false;
    }
    std::string atLine(const std::string& message) const {
        return m_name + ":" + std::to_string(m_lineNumber) + ": " + message;
    }
    bool settled() const { return m_candidates.size() == 1; }

    std::string_view m_text;
    std::string_view m_rest;
    const std::string& m_name;
    std::vector<Candidate> m_candidates;
    std::size_t m_lineNumber = 0;
    std::string m_message;
};

bool LinesParser::readLine(std::string_view line, bool terminated) {
    ++m_lineNumber;
    if (line.empty()) { // in every format
        return true;
    }
    for (std::size_t i = 0; i < m_candidates.size(); ++i) {
        FormatReader& reader = *m_candidates[i].reader;
        const bool cut = !terminated && reader.breaksOff(line);
        const LineKind kind = cut ? LineKind::malformed : reader.read(line);
        if (reader.builder().tooManyProcessors()) {
            return fail(atLine("expected no more than " + std::to_string(maxRecordedProcessors) + " processors"));
        }
        if (kind == LineKind::decisive && !settled()) {
            return settle(i);
        }
        if (kind == LineKind::malformed && m_candidates[i].mistake.empty()) {
            const char* expected =
                cut ? "expected the rest of the line and, after a heading, its values" : reader.expected();
            if (!note(m_candidates[i], terminated ? expected : std::string(brokenOff) + expected)) {
                return false;
            }
        }
    }
    return true;
}

// A mistake in the line at hand. It ends the reading once the format is settled; before, the first one is kept.
bool LinesParser::note(Candidate& candidate, const std::string& mistake) {
    if (settled()) {
        return fail(atLine(mistake));
    }
    candidate.mistake = atLine(mistake);
    return true;
}

bool LinesParser::settle(std::size_t index) {
    Candidate chosen = std::move(m_candidates[index]);
    m_candidates.clear();
    m_candidates.push_back(std::move(chosen));
    return m_candidates.front().mistake.empty() || fail(m_candidates.front().mistake);
}

// After the last line. What a reader drops at the end may have been all that there was.
boost::optional<Recording> LinesParser::finish() {
    if (settled()) {
        FormatReader& reader = *m_candidates.front().reader;
        const std::string missing = reader.missing();
        if (!missing.empty()) {
            fail(atLine(missing));
            return boost::none;
        }
        Recording recording = reader.finish();
        if (hasValues(recording)) {
            return recording;
        }
    }
    const auto mistaken = std::find_if(m_candidates.begin(), m_candidates.end(),
                                       [](const Candidate& candidate) { return !candidate.mistake.empty(); });
    fail(mistaken != m_candidates.end()
             ? mistaken->mistake
             : m_name + ": " +
                   (m_text.find('\0') != std::string_view::npos ? "it is no text file; "
                                                                : "there are no CPUID values in it; ") +
                   formatsRead);
    return boost::none;
}

boost::optional<Recording> LinesParser::parse(RecordingError& error) {
    bool good = true;
    while (good && !m_rest.empty()) {
        const std::size_t length = m_rest.find('\n');
        std::string_view line = m_rest.substr(0, length);
        m_rest.remove_prefix(length == std::string_view::npos ? m_rest.size() : length + 1);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        good = readLine(line, length != std::string_view::npos);
    }
    boost::optional<Recording> recording = good ? finish() : boost::none;
    error.message = m_message;
    return recording;
}

} // namespace

boost::optional<Recording> parseLines(std::string_view text, const std::string& name, FormatReaders readers,
                                      RecordingError& error) {
    return LinesParser(text, name, std::move(readers)).parse(error);
}

} // namespace libQuarrow::os
