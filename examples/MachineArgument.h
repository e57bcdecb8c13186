#pragma once

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingFile.h>

#include <iostream>
#include <memory>
#include <utility>

// The machine that an example looks at: the recording that its first argument names, or else the machine that it runs
// on. The rest of the program is the same for both.
class MachineArgument {
  public:
    // False, after a message, when there is such an argument and it cannot be read.
    bool use(int argc, char** argv) {
        if (argc < 2) {
            return true;
        }
        libQuarrow::os::RecordingError error;
        boost::optional<libQuarrow::os::Recording> recording = libQuarrow::os::readRecording(argv[1], error);
        if (!recording) {
            std::cerr << error.message << "\n";
            return false;
        }
        m_machine = std::make_unique<libQuarrow::os::RecordedMachine>(std::move(*recording));
        m_inItsPlace = std::make_unique<libQuarrow::os::ScopedMachine>(*m_machine);
        return true;
    }
    bool isRecorded() const { return m_machine != nullptr; }

  private:
    std::unique_ptr<libQuarrow::os::RecordedMachine> m_machine;
    std::unique_ptr<libQuarrow::os::ScopedMachine> m_inItsPlace; // destroyed first
};
