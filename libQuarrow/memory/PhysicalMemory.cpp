#include <libQuarrow/memory/PhysicalMemory.h>

#include <libKernelMode/MemDriver.h>
#include <libQuarrow/DefectLog.h>

#include <boost/optional.hpp>

namespace libQuarrow::memory {

using libKernelMode::MemDriver;

namespace {

constexpr std::uint64_t largest32Bit = 0xFFFFFFFF;

// The driver's access unit for a block; none for a unit that blocks are not moved in.
boost::optional<MemDriver::AccessUnit> driverUnit(PhysicalMemory::AccessUnit unit) {
    switch (unit) {
    case PhysicalMemory::AccessAny:
        return MemDriver::AnyUnit;
    case PhysicalMemory::AccessUnit32:
        return MemDriver::Unit32Bit;
    default:
        return boost::none;
    }
}

} // namespace

template <class T>
bool PhysicalMemory::readValue(std::uint64_t offset, T& value) const {
    MemDriver driver;
    T stored = 0;
    if (!driver.openDriver() ||
        !driver.readPhysicalMemory(m_base + offset, &stored, sizeof stored, MemDriver::AnyUnit)) {
        return false;
    }
    value = zel::applyEndianMode(m_endianMode, stored);
    return true;
}

template <class T>
bool PhysicalMemory::writeValue(std::uint64_t offset, T value) const {
    // Only writes are limited to 32-bit offsets; reads are not. Callers count on reading further up, so it must stay.
    if (offset > largest32Bit) {
        return false;
    }
    const T stored = zel::applyEndianMode(m_endianMode, value);
    MemDriver driver;
    return driver.openDriver() &&
           driver.writePhysicalMemory(m_base + offset, &stored, sizeof stored, MemDriver::AnyUnit);
}

bool PhysicalMemory::read8(std::uint64_t offset, unsigned char& value) const {
    return readValue(offset, value);
}
bool PhysicalMemory::read16(std::uint64_t offset, unsigned short& value) const {
    return readValue(offset, value);
}
bool PhysicalMemory::read32(std::uint64_t offset, unsigned int& value) const {
    return readValue(offset, value);
}
bool PhysicalMemory::read64(std::uint64_t offset, std::uint64_t& value) const {
    return readValue(offset, value);
}
bool PhysicalMemory::write8(std::uint64_t offset, unsigned char value) const {
    return writeValue(offset, value);
}
bool PhysicalMemory::write16(std::uint64_t offset, unsigned short value) const {
    return writeValue(offset, value);
}
bool PhysicalMemory::write32(std::uint64_t offset, unsigned int value) const {
    return writeValue(offset, value);
}
bool PhysicalMemory::write64(std::uint64_t offset, std::uint64_t value) const {
    return writeValue(offset, value);
}

bool PhysicalMemory::meetsAccessUnitRequirements(AccessUnit unit, std::uint64_t offset, std::uint64_t size) const {
    switch (unit) {
    case AccessAny:
    case AccessUnit8:
        return true;
    case AccessUnit16:
    case AccessUnit32:
    case AccessUnit64:
        return offset % unit == 0 && size % unit == 0;
    default:
        defectLog().log(zel::LogFailure, __LINE__, "Unknown access unit type");
        return false;
    }
}

bool PhysicalMemory::read(std::uint64_t offset, void* buffer, std::uint64_t size, AccessUnit unit) const {
    if (size > largest32Bit || !meetsAccessUnitRequirements(unit, offset, size)) {
        return false;
    }
    const auto moved = driverUnit(unit);
    MemDriver driver;
    return moved && driver.openDriver() &&
           driver.readPhysicalMemory(m_base + offset, buffer, static_cast<unsigned int>(size), *moved);
}

bool PhysicalMemory::write(std::uint64_t offset, const void* buffer, std::uint64_t size, AccessUnit unit) const {
    if (offset > largest32Bit || size > largest32Bit || !meetsAccessUnitRequirements(unit, offset, size)) {
        return false;
    }
    const auto moved = driverUnit(unit);
    MemDriver driver;
    return moved && driver.openDriver() &&
           driver.writePhysicalMemory(m_base + offset, buffer, static_cast<unsigned int>(size), *moved);
}

} // namespace libQuarrow::memory
