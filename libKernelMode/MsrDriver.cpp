#include <libKernelMode/MsrDriver.h>

namespace libKernelMode {

MsrDriver::MsrDriver() = default;
MsrDriver::~MsrDriver() = default;

bool MsrDriver::open(std::string& reason) {
    m_access = currentDriverBackend().openMsr(reason);
    return m_access != nullptr;
}

bool MsrDriver::readMsr(std::uint32_t msr, std::uint64_t& value) {
    std::uint64_t read = 0;
    if (m_access == nullptr || !m_access->read(msr, read)) {
        return false;
    }
    value = read;
    return true;
}

bool MsrDriver::writeMsr(std::uint32_t msr, std::uint64_t value) {
    return m_access != nullptr && m_access->write(msr, value);
}

} // namespace libKernelMode
