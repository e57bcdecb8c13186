#pragma once

#include <libKernelMode/MsrDriver.h>
#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <string>

namespace quarrow {

// The MSRs of one processor: holds the thread (or the process) there and the driver open until its end.
class MsrAccessor {
  public:
    explicit MsrAccessor(const libQuarrow::cpu::x86_cpu& cpu);

    // Why they are out of reach; empty when they are not.
    const std::string& failureReason() const { return m_failureReason; }
    libKernelMode::MsrDriver& driver() { return m_driver; }

  private:
    libQuarrow::cpu::ScopedAffinity m_pin;
    libKernelMode::MsrDriver m_driver;
    std::string m_failureReason;
};

} // namespace quarrow
