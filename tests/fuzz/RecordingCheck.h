#pragma once

#include <libQuarrow/recording/formats/RecordingParser.h>
#include <tests/fuzz/Require.h>
#include <tests/support/Recordings.h>

#include <string>

// Whatever the bytes are: what is read must round-trip, and what is not must be refused with one line.
template <class Parse>
void checkRecording(const std::string& bytes, Parse parse) {
    using namespace libQuarrow::os;
    using namespace testing_support;
    RecordingError error;
    const boost::optional<Recording> recording = parse(bytes, "file", error);
    if (!recording) {
        require(error.message.substr(0, 4) == "file", "an error names the file");
        require(error.message.find('\n') == std::string::npos, "an error is one line");
        return;
    }
    const std::string once = written(*recording);
    const auto again = parseRecording(once, "again", error);
    require(again && *again == *recording, "what was written reads back the same");
    require(written(*again) == once, "and gives the same text");
    if (recording->processors.size() == 1) {
        const Recording first = recorded(*recording);
        require(first.tscHertz.value_or(1) != 0, "a rate is never 0");
        Recording second = recorded(first);
        second.tscHertz = first.tscHertz; // a measurement rounds what no real counter runs at
        require(second == first, "recording a replay changes nothing");
    }
}
