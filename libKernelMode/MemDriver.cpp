#include <libKernelMode/MemDriver.h>

#include <limits>

namespace libKernelMode {

MemDriver::MemDriver() = default;
MemDriver::~MemDriver() = default;

bool MemDriver::open(std::string& reason) {
    m_access = currentDriverBackend().openMemory(reason);
    return m_access != nullptr;
}

bool MemDriver::accepts(std::uint64_t address, const void* buffer, unsigned int size, AccessUnit unit) const {
    if (m_access == nullptr || (buffer == nullptr && size != 0)) {
        return false;
    }
    if (size != 0 && address > std::numeric_limits<std::uint64_t>::max() - (size - 1)) {
        return false;
    }
    return unit == AnyUnit || (unit == Unit32Bit && address % 4 == 0 && size % 4 == 0);
}

bool MemDriver::readPhysicalMemory(std::uint64_t address, void* buffer, unsigned int size, AccessUnit unit) {
    return accepts(address, buffer, size, unit) && (size == 0 || m_access->read(address, buffer, size, unit));
}

bool MemDriver::writePhysicalMemory(std::uint64_t address, const void* buffer, unsigned int size, AccessUnit unit) {
    return accepts(address, buffer, size, unit) && (size == 0 || m_access->write(address, buffer, size, unit));
}

} // namespace libKernelMode
