#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/EndianMode.h>

namespace libQuarrow::io {

// One I/O port. Every access opens libKernelMode's driver anew, closes it, and is one in or out instruction of its
// width.
//
// Values of 16 and 32 bits are converted between the device's byte order (the endian mode) and the processor's. All
// accesses are false when the driver is not there or refuses, and when a byte of the access lies above port 0xFFFF.
class QUARROW_EXPORT IoPort {
  public:
    IoPort(unsigned int port, zel::EndianMode endianMode) : m_port(port), m_endianMode(endianMode) {}

    void setEndianMode(zel::EndianMode endianMode) { m_endianMode = endianMode; }
    zel::EndianMode getEndianMode() const { return m_endianMode; }

    // `value` is written on success only.
    bool read8(unsigned char& value) const;
    bool read16(unsigned short& value) const;
    bool read32(unsigned int& value) const;
    bool write8(unsigned char value) const;
    bool write16(unsigned short value) const;
    bool write32(unsigned int value) const;

    // Ports are never reserved: always false.
    bool reserve();
    bool release();

  private:
    bool imp_read8(unsigned char& value) const;
    bool imp_read16(unsigned short& value) const;
    bool imp_read32(unsigned int& value) const;
    bool imp_write8(unsigned char value) const;
    bool imp_write16(unsigned short value) const;
    bool imp_write32(unsigned int value) const;

    unsigned int m_port;
    zel::EndianMode m_endianMode;
};

} // namespace libQuarrow::io
