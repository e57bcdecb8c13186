#pragma once

#include <libKernelMode/kernelmode_export.h>

#include <cstdint>
#include <memory>
#include <string>

namespace libKernelMode {

// Open access to the MSRs of the processor that the calling thread is on. The destructor closes it; until then the
// thread must stay there: some drivers go by the processor at the time of opening, others by that of each access.
// Reading and writing are false when the processor has no such MSR or the access is not allowed.
class KERNELMODE_EXPORT MsrAccess {
  public:
    virtual ~MsrAccess();
    virtual bool read(std::uint32_t msr, std::uint64_t& value) = 0;
    virtual bool write(std::uint32_t msr, std::uint64_t value) = 0;
    // Whether it was opened for writing too. Where not, every write fails; where so, single ones still may.
    virtual bool isWritable() const;
};

// Open access to physical memory. Closed by the destructor. The callers have checked the arguments: the range does not
// wrap round, and where unitBytes is not 0, address and size are multiples of it.
class KERNELMODE_EXPORT MemoryAccess {
  public:
    virtual ~MemoryAccess();
    // unitBytes 4: nothing but aligned 32-bit accesses, as device registers want them. 0: any accesses; an aligned
    // value of 2, 4 or 8 bytes is moved by one access of its width all the same.
    virtual bool read(std::uint64_t address, void* buffer, std::uint32_t size, std::uint32_t unitBytes) = 0;
    virtual bool write(std::uint64_t address, const void* buffer, std::uint32_t size, std::uint32_t unitBytes) = 0;
    virtual bool isWritable() const; // as for MSRs
};

// Open access to the I/O ports, for the thread that opened it. Closed by the destructor. `widthBytes` is 1, 2 or 4, and
// all of its ports exist (0 to 0xFFFF). Every access is one access of that width.
class KERNELMODE_EXPORT PortAccess {
  public:
    virtual ~PortAccess();
    virtual bool read(std::uint16_t port, std::uint32_t widthBytes, std::uint32_t& value) = 0;
    virtual bool write(std::uint16_t port, std::uint32_t widthBytes, std::uint32_t value) = 0;
};

// What stands behind the driver classes: the operating system's driver, or a recorded machine's answers.
class KERNELMODE_EXPORT DriverBackend {
  public:
    virtual ~DriverBackend();
    // Null when there is no such driver or it may not be used; then `reason` says which device, why, and what to do.
    virtual std::unique_ptr<MsrAccess> openMsr(std::string& reason) = 0;
    // The same. A backend that does not override them has none.
    virtual std::unique_ptr<MemoryAccess> openMemory(std::string& reason);
    virtual std::unique_ptr<PortAccess> openPorts(std::string& reason);
};

// The backend of the operating system this library was built for.
KERNELMODE_EXPORT DriverBackend& nativeDriverBackend();
// The backend that openDriver uses: the native one, or the one that a ScopedDriverBackend has put in its place.
KERNELMODE_EXPORT DriverBackend& currentDriverBackend();

// Makes `backend` the current one until the end of the scope; then the one before is back. Scopes nest. The backend is
// not owned. To be used before other threads open drivers.
class KERNELMODE_EXPORT ScopedDriverBackend {
  public:
    explicit ScopedDriverBackend(DriverBackend& backend);
    ~ScopedDriverBackend();
    ScopedDriverBackend(const ScopedDriverBackend&) = delete;
    ScopedDriverBackend& operator=(const ScopedDriverBackend&) = delete;

  private:
    DriverBackend* const m_previous; // null: the native one
};

} // namespace libKernelMode
