#pragma once

#include <libKernelMode/DriverBackend.h>

#include <memory>
#include <string>

// Private to the library.

namespace libKernelMode {

// One processor's MSRs through the msr module's device, /dev/cpu/N/msr. Null, with the reason, when the device cannot
// be opened. One that may only be read refuses every write.
std::unique_ptr<MsrAccess> openMsrDevice(const std::string& device, std::string& reason);

} // namespace libKernelMode
