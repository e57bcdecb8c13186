#include <libKernelMode/os/linux/Device.h>

#include <cerrno>
#include <fcntl.h>
#include <system_error>

namespace libKernelMode {

std::string describeFailure(const std::string& device, int error, std::initializer_list<DeviceError> meanings) {
    std::string meaning = std::generic_category().message(error);
    for (const DeviceError& known : meanings) {
        meaning = known.number == error ? known.meaning : meaning;
    }
    return "cannot open " + device + ": " + meaning;
}

int openDevice(const std::string& device, int flags, bool& writable) {
    int file = ::open(device.c_str(), O_RDWR | O_CLOEXEC | flags);
    writable = file >= 0;
    if (!writable && (errno == EACCES || errno == EPERM || errno == EROFS)) {
        file = ::open(device.c_str(), O_RDONLY | O_CLOEXEC | flags);
    }
    return file;
}

} // namespace libKernelMode
