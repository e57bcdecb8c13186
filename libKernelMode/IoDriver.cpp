#include <libKernelMode/IoDriver.h>

namespace libKernelMode {
namespace {

bool portsExist(unsigned int port, std::size_t width) {
    return port <= 0x10000 - width;
}

} // namespace

IoDriver::IoDriver() = default;
IoDriver::~IoDriver() = default;

bool IoDriver::open(std::string& reason) {
    m_access = currentDriverBackend().openPorts(reason);
    return m_access != nullptr;
}

template <class T>
bool IoDriver::read(unsigned int port, T& value) {
    std::uint32_t word = 0;
    if (m_access == nullptr || !portsExist(port, sizeof(T)) ||
        !m_access->read(static_cast<std::uint16_t>(port), sizeof(T), word)) {
        return false;
    }
    value = static_cast<T>(word);
    return true;
}

template <class T>
bool IoDriver::write(unsigned int port, T value) {
    return m_access != nullptr && portsExist(port, sizeof(T)) &&
           m_access->write(static_cast<std::uint16_t>(port), sizeof(T), value);
}

bool IoDriver::readPort8(unsigned int port, unsigned char& value) {
    return read(port, value);
}
bool IoDriver::readPort16(unsigned int port, unsigned short& value) {
    return read(port, value);
}
bool IoDriver::readPort32(unsigned int port, unsigned int& value) {
    return read(port, value);
}
bool IoDriver::writePort8(unsigned int port, unsigned char value) {
    return write(port, value);
}
bool IoDriver::writePort16(unsigned int port, unsigned short value) {
    return write(port, value);
}
bool IoDriver::writePort32(unsigned int port, unsigned int value) {
    return write(port, value);
}

} // namespace libKernelMode
