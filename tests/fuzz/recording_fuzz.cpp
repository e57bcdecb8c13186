// Any bytes as a recording: what is read must round-trip, and what is not must be refused with one line.

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/os/recorded/Recording.h>

#include <tests/fuzz/Require.h>

#include <cstdint>
#include <sstream>

using namespace libQuarrow::os;

namespace {

std::string written(const Recording& recording) {
    std::ostringstream out;
    writeRecording(recording, out);
    return out.str();
}

Recording recorded(const Recording& recording) {
    RecordedMachine machine(recording);
    const ScopedMachine scope(machine);
    RecordingError error;
    const auto result = recordCurrentMachine(error);
    require(result.has_value(), "a recorded machine can be recorded");
    return *result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    RecordingError error;
    const auto recording = parseRecording(text, "file", error);
    if (!recording) {
        require(error.message.substr(0, 5) == "file:", "an error names the file");
        require(error.message.find('\n') == std::string::npos, "an error is one line");
        return 0;
    }
    const std::string once = written(*recording);
    const auto again = parseRecording(once, "again", error);
    require(again && *again == *recording, "what was written reads back the same");
    require(written(*again) == once, "and gives the same text");
    if (recording->processors.size() == 1) {
        const Recording first = recorded(*recording);
        require(recorded(first) == first, "recording a replay changes nothing");
    }
    return 0;
}
