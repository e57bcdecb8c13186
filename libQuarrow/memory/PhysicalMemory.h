#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/Array.h>
#include <zel/EndianMode.h>

#include <cstdint>

namespace libQuarrow::memory {

// Physical memory, or device registers mapped into it, from a base address on. Every access opens libKernelMode's
// driver anew and closes it.
//
// Single values are converted between the device's byte order (the endian mode) and the processor's; blocks and bytes
// never are. All accesses are false when the driver is not there or refuses. Reads take any offset, writes offsets up
// to 0xFFFFFFFF only.
class QUARROW_EXPORT PhysicalMemory {
  public:
    // How a block is accessed: a width in bytes that offset and size must be multiples of.
    enum AccessUnit : std::uint32_t {
        AccessAny = 0, // no alignment asked for
        AccessUnit8 = 1,
        AccessUnit16 = 2,
        AccessUnit32 = 4,
        AccessUnit64 = 8,
    };

    PhysicalMemory() = default; // base address 0, bytes as the processor stores them
    PhysicalMemory(std::uint64_t base, zel::EndianMode endianMode) : m_base(base), m_endianMode(endianMode) {}

    void setBaseAddress(std::uint64_t base) { m_base = base; }
    std::uint64_t getBaseAddress() const { return m_base; }
    void setEndianMode(zel::EndianMode endianMode) { m_endianMode = endianMode; }
    zel::EndianMode getEndianMode() const { return m_endianMode; }

    // One value at base + offset. `value` is written on success only.
    bool read8(std::uint64_t offset, unsigned char& value) const;
    bool read16(std::uint64_t offset, unsigned short& value) const;
    bool read32(std::uint64_t offset, unsigned int& value) const;
    bool read64(std::uint64_t offset, std::uint64_t& value) const;
    bool write8(std::uint64_t offset, unsigned char value) const;
    bool write16(std::uint64_t offset, unsigned short value) const;
    bool write32(std::uint64_t offset, unsigned int value) const;
    bool write64(std::uint64_t offset, std::uint64_t value) const;

    // A block of up to 0xFFFFFFFF bytes at base + offset. Only AccessAny and AccessUnit32 are carried out; the other
    // units are false. After a failed read the buffer may hold part of the block.
    bool read(std::uint64_t offset, void* buffer, std::uint64_t size, AccessUnit unit) const;
    bool write(std::uint64_t offset, const void* buffer, std::uint64_t size, AccessUnit unit) const;

  private:
    bool meetsAccessUnitRequirements(AccessUnit unit, std::uint64_t offset, std::uint64_t size) const;
    template <class T>
    bool readValue(std::uint64_t offset, T& value) const;
    template <class T>
    bool writeValue(std::uint64_t offset, T value) const;

    std::uint64_t m_base = 0;
    zel::EndianMode m_endianMode = zel::EndianDefault;
    zel::Array<unsigned char> m_buffer; // always empty; keeps the object's layout
};

} // namespace libQuarrow::memory
