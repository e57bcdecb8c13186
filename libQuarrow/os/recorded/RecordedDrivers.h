#pragma once

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/os/recorded/RecordedMachineState.h>

#include <memory>

namespace libQuarrow::os {

// Private to the library: MSRs, memory and ports from a recording. What is opened may outlive this object and the
// machine. Of what the recording does not hold at all, no driver opens; writing adds nothing to it.
class RecordedDrivers : public libKernelMode::DriverBackend {
  public:
    explicit RecordedDrivers(std::shared_ptr<RecordedMachineState> state);

    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string& reason) override;
    std::unique_ptr<libKernelMode::MemoryAccess> openMemory(std::string& reason) override;
    std::unique_ptr<libKernelMode::PortAccess> openPorts(std::string& reason) override;

  private:
    const std::shared_ptr<RecordedMachineState> m_state;
    const bool m_holdsMsrs; // of any processor
};

} // namespace libQuarrow::os
