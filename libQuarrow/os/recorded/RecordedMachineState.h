#pragma once

#include <libQuarrow/os/recorded/Faults.h>
#include <libQuarrow/os/recorded/RecordedPins.h>
#include <libQuarrow/recording/Recording.h>

#include <mutex>

// Private to the library: what the parts of a recorded machine have in common.

namespace libQuarrow::os {

class RecordedMachineState {
  public:
    explicit RecordedMachineState(Recording recorded) : recording(std::move(recorded)), pins(recording, faults) {}

    // The processor that the calling thread is on; null when the recording has none.
    RecordedProcessor* processor() {
        return recording.processors.empty() ? nullptr : &recording.processors[pins.processor()];
    }

    Recording recording;
    std::mutex writing; // guards the MSRs, memory and ports of the recording
    Faults faults;
    RecordedPins pins;
};

} // namespace libQuarrow::os
