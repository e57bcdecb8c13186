#pragma once

#include <libKernelMode/DriverBackend.h>

#include <memory>
#include <string>

// Private to the library.

namespace libKernelMode {

// Physical memory through a device that maps it, such as /dev/mem. Each access maps its pages and unmaps them again.
// Null, with the reason, when the device cannot be opened. One that may only be read refuses every write.
std::unique_ptr<MemoryAccess> openMemoryDevice(const std::string& device, std::string& reason);

// Of how many bytes each access is that moves a block: unitBytes, or where that is 0, the widest of 1, 2, 4 and 8 that
// the range divides into.
std::uint32_t accessWidth(std::uint64_t address, std::uint32_t size, std::uint32_t unitBytes);

} // namespace libKernelMode
