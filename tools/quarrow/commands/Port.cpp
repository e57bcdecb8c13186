#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>
#include <tools/quarrow/commands/Access.h>
#include <tools/quarrow/commands/Commands.h>

#include <libKernelMode/IoDriver.h>

namespace quarrow {

using libKernelMode::IoDriver;

namespace {

// One access of the width of T.
template <class T>
Place portOf(IoDriver& driver, unsigned int number, bool (IoDriver::*read)(unsigned int, T&),
             bool (IoDriver::*write)(unsigned int, T)) {
    return {"I/O port " + hexadecimal(number, 2) + " (" + std::to_string(8 * sizeof(T)) + " bits)",
            sizeof(T),
            "port",
            {{"address", number}, {"size", sizeof(T)}},
            [&driver, number, read](std::uint64_t& value) {
                T word = 0;
                const bool success = (driver.*read)(number, word);
                value = word;
                return success;
            },
            [&driver, number, write](std::uint64_t value) { return (driver.*write)(number, static_cast<T>(value)); }};
}

} // namespace

std::string portCommand(const Request& request) {
    const std::uint64_t size = sizeOption(request, 1, 4);
    // The last of the ports must exist too.
    const auto number = static_cast<unsigned int>(numberIn(request.operands.at(0), "PORT", 0, 0x10000 - size));
    const auto toWrite = valueToWrite(request, size);
    IoDriver driver;
    if (!driver.openDriver()) {
        throw Failure(Failure::CannotAnswer, driver.failureReason());
    }
    const Place port = size == 1 ? portOf<unsigned char>(driver, number, &IoDriver::readPort8, &IoDriver::writePort8)
                       : size == 2
                           ? portOf<unsigned short>(driver, number, &IoDriver::readPort16, &IoDriver::writePort16)
                           : portOf<unsigned int>(driver, number, &IoDriver::readPort32, &IoDriver::writePort32);
    return access(request, port, toWrite);
}

} // namespace quarrow
