#pragma once

#include <pci/PciBackend.h>

namespace pci {

// The configuration space of one function of a PCI device, to be read. To be used on the thread that opened it.
class PCI_EXPORT PciFunction {
  public:
    explicit PciFunction(const PciAddress& address);
    ~PciFunction();
    PciFunction(const PciFunction&) = delete;
    PciFunction& operator=(const PciFunction&) = delete;

    // Opens the function through currentPciBackend(). False when it is not there or may not be used.
    bool openFunction();
    // The register of 32 bits at `offset`. False, with `value` untouched, when the function is not open, the offset is
    // no multiple of 4 or not below configSpaceBytes, or the access is refused.
    bool readRegister(std::uint32_t offset, std::uint32_t& value);
    // After one of both was false: one line saying what could not be read, why, and what to do. Otherwise empty.
    const std::string& failureReason() const { return m_failureReason; }

  private:
    PciAddress m_address;
    std::unique_ptr<ConfigAccess> m_access;
    std::string m_failureReason;
};

} // namespace pci
