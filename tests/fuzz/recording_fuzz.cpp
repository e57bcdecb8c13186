// Any bytes as a recording.

#include <tests/fuzz/RecordingCheck.h>

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    checkRecording(std::string(reinterpret_cast<const char*>(bytes), size), libQuarrow::os::parseRecording);
    return 0;
}
