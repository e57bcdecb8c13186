#pragma once

#include <pci/PciBackend.h>

// Private to the library.

namespace pci {

// A function through its `config` file in sysfs; `devices` is the folder that holds one folder for each function.
// Null, with the reason, when the file cannot be opened.
std::unique_ptr<ConfigAccess> openSysfsFunction(const std::string& devices, const PciAddress& address,
                                                std::string& reason);

} // namespace pci
