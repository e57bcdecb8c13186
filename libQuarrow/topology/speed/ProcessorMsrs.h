#pragma once

#include <libKernelMode/MsrDriver.h>

#include <cstdint>
#include <string>

// Private to the library.

namespace libQuarrow::topology {

// The model-specific registers of the processor that the thread is on, which it must stay on. The driver is opened when
// the first register is read, and once.
class ProcessorMsrs {
  public:
    bool read(std::uint32_t msr, std::uint64_t& value);
    // Why the driver could not be opened. Empty where it could, and where nobody asked for a register.
    const std::string& refusal() const { return m_refusal; }

  private:
    libKernelMode::MsrDriver m_driver;
    bool m_asked = false;
    std::string m_refusal;
};

} // namespace libQuarrow::topology
