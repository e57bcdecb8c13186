#pragma once

#include <initializer_list>
#include <string>

// Private to the library: what the kernel's devices have in common.

namespace libKernelMode {

// An errno, and what it means for a device and what to do about it.
struct DeviceError {
    int number;
    const char* meaning;
};

// "cannot open <device>: " and the meaning of `error`; without one here, the system's text.
std::string describeFailure(const std::string& device, int error, std::initializer_list<DeviceError> meanings);

// A file descriptor for reading and writing, or for reading alone where no more is allowed; `writable` says which.
// Negative, with errno, when neither is. `flags` are added to O_CLOEXEC.
int openDevice(const std::string& device, int flags, bool& writable);

} // namespace libKernelMode
