#include <libQuarrow/io/IoPort.h>

#include <libKernelMode/IoDriver.h>

namespace libQuarrow::io {

using libKernelMode::IoDriver;

namespace {

// `call` on a driver opened for it alone.
template <class Parameter, class Value>
bool access(unsigned int port, bool (IoDriver::*call)(unsigned int, Parameter), Value& value) {
    IoDriver driver;
    return driver.openDriver() && (driver.*call)(port, value);
}

} // namespace

bool IoPort::read8(unsigned char& value) const {
    return imp_read8(value);
}

bool IoPort::read16(unsigned short& value) const {
    if (!imp_read16(value)) {
        return false;
    }
    value = zel::applyEndianMode(m_endianMode, value);
    return true;
}

bool IoPort::read32(unsigned int& value) const {
    if (!imp_read32(value)) {
        return false;
    }
    value = zel::applyEndianMode(m_endianMode, value);
    return true;
}

bool IoPort::write8(unsigned char value) const {
    return imp_write8(value);
}
bool IoPort::write16(unsigned short value) const {
    return imp_write16(zel::applyEndianMode(m_endianMode, value));
}
bool IoPort::write32(unsigned int value) const {
    return imp_write32(zel::applyEndianMode(m_endianMode, value));
}

bool IoPort::reserve() {
    return false;
}
bool IoPort::release() {
    return false;
}

bool IoPort::imp_read8(unsigned char& value) const {
    return access(m_port, &IoDriver::readPort8, value);
}
bool IoPort::imp_read16(unsigned short& value) const {
    return access(m_port, &IoDriver::readPort16, value);
}
bool IoPort::imp_read32(unsigned int& value) const {
    return access(m_port, &IoDriver::readPort32, value);
}
bool IoPort::imp_write8(unsigned char value) const {
    return access(m_port, &IoDriver::writePort8, value);
}
bool IoPort::imp_write16(unsigned short value) const {
    return access(m_port, &IoDriver::writePort16, value);
}
bool IoPort::imp_write32(unsigned int value) const {
    return access(m_port, &IoDriver::writePort32, value);
}

} // namespace libQuarrow::io
