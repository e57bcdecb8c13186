#pragma once

#include <pci/PciAddress.h>

// Private to the library.

namespace libKernelMode {
class IoDriver;
}

namespace pci {

// Reads a register through the address port 0xCF8 and the data port 0xCFC ("configuration mechanism 1" of the PCI local
// bus standard), which reach the first 256 bytes of a function. Afterwards the address port has the value that it
// had before. False when a port cannot be used or somebody else used the address port meanwhile: hold a lock that all
// users of the ports know.
bool readThroughPorts(libKernelMode::IoDriver& ports, const PciAddress& address, std::uint32_t offset,
                      std::uint32_t& value);

} // namespace pci
