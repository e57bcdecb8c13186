#pragma once

#include <libKernelMode/kernelmode_export.h>

#include <cstdint>
#include <memory>
#include <string>

namespace libKernelMode {

// An open way to the MSRs of the processor that the calling thread runs on. Closed by the destructor.
class KERNELMODE_EXPORT MsrAccess {
  public:
    virtual ~MsrAccess();
    virtual bool read(std::uint32_t msr, std::uint64_t& value) = 0;
    virtual bool write(std::uint32_t msr, std::uint64_t value) = 0;
};

// What stands behind the driver classes: the operating system's driver, or a recorded machine's answers.
class KERNELMODE_EXPORT DriverBackend {
  public:
    virtual ~DriverBackend();
    // Null when there is no such driver or it may not be used; then `reason` says which device, why, and what to do.
    virtual std::unique_ptr<MsrAccess> openMsr(std::string& reason) = 0;
};

// The backend of the operating system this library was built for.
KERNELMODE_EXPORT DriverBackend& nativeDriverBackend();
// The backend that openDriver uses: the native one until another is set. Null restores the native one. The backend is
// not owned and must outlive its use; set it before other threads open drivers. Answers the one set before.
KERNELMODE_EXPORT DriverBackend& currentDriverBackend();
KERNELMODE_EXPORT DriverBackend* setDriverBackend(DriverBackend* backend);

} // namespace libKernelMode
