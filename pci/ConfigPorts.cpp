#include <pci/ConfigPorts.h>

#include <libKernelMode/IoDriver.h>

namespace pci {
namespace {

constexpr unsigned int addressPort = 0xCF8; // bit 31 enable, 23:8 bus, device and function, 7:2 register
constexpr unsigned int dataPort = 0xCFC;
constexpr unsigned int enableBit = 1u << 31;

} // namespace

bool readThroughPorts(libKernelMode::IoDriver& ports, const PciAddress& address, std::uint32_t offset,
                      std::uint32_t& value) {
    const unsigned int selected = enableBit | unsigned{address.number()} << 8 | offset;
    unsigned int before = 0;
    unsigned int data = 0;
    unsigned int after = 0;
    if (offset >= conventionalConfigSpaceBytes || !ports.readPort32(addressPort, before) ||
        !ports.writePort32(addressPort, selected)) {
        return false;
    }
    const bool isRead = ports.readPort32(dataPort, data) && ports.readPort32(addressPort, after) && after == selected;
    if (!ports.writePort32(addressPort, before) || !isRead) {
        return false;
    }
    value = data;
    return true;
}

} // namespace pci
