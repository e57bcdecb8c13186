#pragma once

#include <libKernelMode/DriverBackend.h>

#include <memory>
#include <string>

// Private to the library.

namespace libKernelMode {

// Physical memory through a device that maps it, such as /dev/mem. Each access maps its pages and unmaps them again.
// Null, with the reason, when the device cannot be opened. One that may only be read refuses every write.
std::unique_ptr<MemoryAccess> openMemoryDevice(const std::string& device, std::string& reason);

// Move a block from or to the mapped device by accesses of unitBytes each, or where that is 0, of the widest of 1, 2, 4
// and 8 bytes that the range divides into.
void readUnits(const volatile std::uint8_t* device, void* buffer, std::uint32_t size, std::uint32_t unitBytes);
void writeUnits(volatile std::uint8_t* device, const void* buffer, std::uint32_t size, std::uint32_t unitBytes);

} // namespace libKernelMode
