#include <tools/quarrow/Access.h>
#include <tools/quarrow/Commands.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>

#include <libKernelMode/IoDriver.h>

namespace quarrow {

using libKernelMode::IoDriver;

namespace {

// One access of the width of T.
template <class T>
class Port : public Place {
  public:
    using Read = bool (IoDriver::*)(unsigned int, T&);
    using Write = bool (IoDriver::*)(unsigned int, T);

    Port(IoDriver& driver, unsigned int number, Read readPort, Write writePort)
        : m_driver(driver), m_number(number), m_read(readPort), m_write(writePort) {
        bytes = sizeof(T);
        name = "I/O port " + hexadecimal(number, 2) + " (" + std::to_string(8 * bytes) + " bits)";
        key = "port";
        identity = {{"address", number}, {"size", bytes}};
    }

    bool read(std::uint64_t& value) override {
        T word = 0;
        const bool success = (m_driver.*m_read)(m_number, word);
        value = word;
        return success;
    }
    bool write(std::uint64_t value) override { return (m_driver.*m_write)(m_number, static_cast<T>(value)); }

  private:
    IoDriver& m_driver;
    unsigned int m_number;
    Read m_read;
    Write m_write;
};

template <class T>
std::string accessPort(const Request& request, IoDriver& driver, unsigned int number, typename Port<T>::Read readPort,
                       typename Port<T>::Write writePort) {
    Port<T> port(driver, number, readPort, writePort);
    return access(request, port);
}

} // namespace

std::string portCommand(const Request& request) {
    const std::uint64_t size = numberOption(request, "size", 4).value_or(1);
    if (size != 1 && size != 2 && size != 4) {
        throw Failure(Failure::WrongInput, "--size must be 1, 2 or 4 bytes");
    }
    // The last of the ports must exist too.
    const auto number = static_cast<unsigned int>(numberOperand(request, "the port", 0x10000 - size));
    numberOption(request, "write", maximumOf(size));
    IoDriver driver;
    if (!driver.openDriver()) {
        throw Failure(Failure::CannotAnswer, driver.failureReason());
    }
    switch (size) {
    case 1:
        return accessPort<unsigned char>(request, driver, number, &IoDriver::readPort8, &IoDriver::writePort8);
    case 2:
        return accessPort<unsigned short>(request, driver, number, &IoDriver::readPort16, &IoDriver::writePort16);
    default:
        return accessPort<unsigned int>(request, driver, number, &IoDriver::readPort32, &IoDriver::writePort32);
    }
}

} // namespace quarrow
