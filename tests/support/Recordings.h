#pragma once

#include <libQuarrow/os/recorded/MachineRecorder.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingWriter.h>

#include <sstream>
#include <string>

namespace testing_support {

inline std::string written(const libQuarrow::os::Recording& recording) {
    std::ostringstream out;
    libQuarrow::os::writeRecording(recording, out);
    return out.str();
}

// What recording the replayed machine gives.
inline libQuarrow::os::Recording recorded(const libQuarrow::os::Recording& recording) {
    libQuarrow::os::RecordedMachine machine(recording);
    const libQuarrow::os::ScopedMachine scope(machine);
    libQuarrow::os::RecordingError error;
    return libQuarrow::os::recordCurrentMachine(error).value();
}

} // namespace testing_support
