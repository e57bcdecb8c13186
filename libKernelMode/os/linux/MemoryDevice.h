#pragma once

#include <libKernelMode/DriverBackend.h>

#include <memory>
#include <string>

// Private to the library.

namespace libKernelMode {

// Physical memory through a device that maps it, such as /dev/mem. Each access maps its pages and unmaps them again.
// Null, with the reason, when the device cannot be opened. One that may only be read refuses every write.
std::unique_ptr<MemoryAccess> openMemoryDevice(const std::string& device, std::string& reason);

} // namespace libKernelMode
