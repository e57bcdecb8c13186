#pragma once

#include <libKernelMode/Driver.h>
#include <libKernelMode/DriverBackend.h>

namespace libKernelMode {

// Model-specific registers of the processor that the calling thread is on. The thread must stay there while the driver
// is open.
class KERNELMODE_EXPORT MsrDriver : public Driver {
  public:
    MsrDriver();
    ~MsrDriver() override;

    // False when the driver is not open or the access fails; `value` is written on success only.
    bool readMsr(std::uint32_t msr, std::uint64_t& value);
    bool writeMsr(std::uint32_t msr, std::uint64_t value);
    // Whether it was opened for writing too; false when it is not open.
    bool isWritable() const { return m_access != nullptr && m_access->isWritable(); }

  private:
    bool open(std::string& reason) override;

    std::unique_ptr<MsrAccess> m_access;
};

} // namespace libKernelMode
