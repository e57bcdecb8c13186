#pragma once

#include <libQuarrow/os/recorded/MachineRecorder.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingWriter.h>
#include <tests/support/CountingMachine.h>

#include <sstream>
#include <string>

namespace testing_support {

inline std::string written(const libQuarrow::os::Recording& recording) {
    std::ostringstream out;
    libQuarrow::os::writeRecording(recording, out);
    return out.str();
}

// What recording the replayed machine gives, leaf by leaf. (Asked for itself it gives what it was made of.)
inline libQuarrow::os::Recording recorded(const libQuarrow::os::Recording& recording) {
    libQuarrow::os::RecordedMachine replayed(recording);
    CountingMachine machine(replayed);
    const libQuarrow::os::ScopedMachine scope(machine);
    libQuarrow::os::RecordingError error;
    return libQuarrow::os::recordCurrentMachine(error).value();
}

} // namespace testing_support
