#pragma once

#include <libQuarrow/os/recorded/RecordedMachineState.h>
#include <pci/PciBackend.h>

#include <memory>

namespace libQuarrow::os {

// Private to the library: PCI registers from a recording. What is opened may outlive this object and the machine. A
// function of which the recording holds no register does not open.
class RecordedPci : public pci::PciBackend {
  public:
    explicit RecordedPci(std::shared_ptr<const RecordedMachineState> state) : m_state(std::move(state)) {}

    std::unique_ptr<pci::ConfigAccess> openFunction(const pci::PciAddress& address, std::string& reason) override;

  private:
    const std::shared_ptr<const RecordedMachineState> m_state;
};

} // namespace libQuarrow::os
