#pragma once

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/recording/Recording.h>

namespace quarrow {

// Notes every MSR that is read, in the recording's processor that the thread is pinned to, until the end of the scope.
// So a recording gets just those registers that its questions need. What was read first stays.
class MsrNotes final : public libKernelMode::DriverBackend {
  public:
    explicit MsrNotes(libQuarrow::os::Recording& recording);
    ~MsrNotes() override;

    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string& reason) override;

  private:
    libQuarrow::os::RecordedProcessor* processorHere() const;

    libQuarrow::os::Recording& m_recording;
    libKernelMode::DriverBackend& m_backend;
    libKernelMode::DriverBackend* m_previous;
};

} // namespace quarrow
