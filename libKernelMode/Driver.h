#pragma once

#include <libKernelMode/kernelmode_export.h>

#include <string>

namespace libKernelMode {

// A client of one service of the kernel-mode driver. Closed by the destructor.
class KERNELMODE_EXPORT Driver {
  public:
    virtual ~Driver();
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    // Opens the service through currentDriverBackend(). False when it is not there or may not be used.
    bool openDriver();
    // After openDriver was false: one line saying which device, why, and what to do. Otherwise empty.
    const std::string& failureReason() const { return m_failureReason; }

  protected:
    Driver() = default;
    virtual bool open(std::string& reason) = 0;

  private:
    std::string m_failureReason;
};

} // namespace libKernelMode
