#pragma once

#include <libKernelMode/Driver.h>
#include <libKernelMode/DriverBackend.h>

namespace libKernelMode {

// I/O ports. To be used on the thread that opened it.
class KERNELMODE_EXPORT IoDriver : public Driver {
  public:
    IoDriver();
    ~IoDriver() override;

    // One access of that width each. False, with `value` untouched, when the driver is not open, the last port of the
    // access lies above 0xFFFF, or the access is refused.
    bool readPort8(unsigned int port, unsigned char& value);
    bool readPort16(unsigned int port, unsigned short& value);
    bool readPort32(unsigned int port, unsigned int& value);
    bool writePort8(unsigned int port, unsigned char value);
    bool writePort16(unsigned int port, unsigned short value);
    bool writePort32(unsigned int port, unsigned int value);

  private:
    bool open(std::string& reason) override;
    template <class T>
    bool read(unsigned int port, T& value);
    template <class T>
    bool write(unsigned int port, T value);

    std::unique_ptr<PortAccess> m_access;
};

} // namespace libKernelMode
