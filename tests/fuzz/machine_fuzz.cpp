// Mutated machines through everything that the tool prints. The first byte chooses one of the project's own machines,
// the others what is done to it. QUARROW_FUZZ_MACHINES names another folder of recordings to start from.

#include <tests/mutation/MachineMutator.h>

#include <cstdlib>

namespace {

const std::vector<libQuarrow::os::Recording>& machines() {
    static const std::vector<libQuarrow::os::Recording> all = [] {
        const char* folder = std::getenv("QUARROW_FUZZ_MACHINES");
        return recordingsOf(folder != nullptr ? folder : QUARROW_SOURCE_DIR "/tests/machines");
    }();
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size != 0) {
        askEverything(mutatedRecording(machines()[bytes[0] % machines().size()], bytes + 1, size - 1));
    }
    return 0;
}
