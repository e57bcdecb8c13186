#include <pci/PciFunction.h>

namespace pci {

PciFunction::PciFunction(const PciAddress& address) : m_address(address) {}
PciFunction::~PciFunction() = default;

bool PciFunction::openFunction() {
    m_failureReason.clear();
    if (!m_address.isValid()) {
        m_access = nullptr;
        m_failureReason = "no such PCI function: devices go from 0 to 31, functions from 0 to 7";
        return false;
    }
    m_access = currentPciBackend().openFunction(m_address, m_failureReason);
    return m_access != nullptr;
}

bool PciFunction::readRegister(std::uint32_t offset, std::uint32_t& value) {
    m_failureReason.clear();
    if (m_access == nullptr) {
        m_failureReason = "the PCI function is not open";
        return false;
    }
    if (offset % 4 != 0 || offset >= configSpaceBytes) {
        m_failureReason = "no such PCI register: offsets are multiples of 4 below 0x1000";
        return false;
    }
    std::uint32_t read = 0;
    if (!m_access->read(offset, read, m_failureReason)) {
        return false;
    }
    value = read;
    return true;
}

} // namespace pci
