#pragma once

#include <libKernelMode/Driver.h>
#include <libKernelMode/DriverBackend.h>

namespace libKernelMode {

// Physical memory, device registers that are mapped into it included.
class KERNELMODE_EXPORT MemDriver : public Driver {
  public:
    // What a block is moved by.
    enum AccessUnit : std::uint32_t {
        AnyUnit = 0,   // whatever is fast; a single aligned value by one access of its width
        Unit32Bit = 4, // aligned 32-bit accesses only; address and size must be multiples of 4
    };

    MemDriver();
    ~MemDriver() override;

    // False when the driver is not open, the unit is none of these or does not fit, the range wraps round, or the
    // access is refused; the buffer may then hold part of the block. A size of 0 does nothing and succeeds.
    bool readPhysicalMemory(std::uint64_t address, void* buffer, unsigned int size, AccessUnit unit);
    bool writePhysicalMemory(std::uint64_t address, const void* buffer, unsigned int size, AccessUnit unit);
    // Whether it was opened for writing too; false when it is not open.
    bool isWritable() const { return m_access != nullptr && m_access->isWritable(); }

  private:
    bool open(std::string& reason) override;
    bool accepts(std::uint64_t address, const void* buffer, unsigned int size, AccessUnit unit) const;

    std::unique_ptr<MemoryAccess> m_access;
};

} // namespace libKernelMode
