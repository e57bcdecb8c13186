#pragma once

#include <libKernelMode/DriverBackend.h>

#include <memory>
#include <string>

// Private to the library.

namespace libKernelMode {

// The I/O ports, allowed to the calling thread (ioperm) for the length of each access and no longer. Null, with the
// reason, when the thread may not use them.
std::unique_ptr<PortAccess> openIoPorts(std::string& reason);

} // namespace libKernelMode
