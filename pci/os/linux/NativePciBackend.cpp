// Configuration space as the Linux kernel gives it out.
#include <pci/PciBackend.h>

#include <pci/os/linux/SysfsFunction.h>

namespace pci {

namespace {

class LinuxPciBackend final : public PciBackend {
  public:
    std::unique_ptr<ConfigAccess> openFunction(const PciAddress& address, std::string& reason) override {
        return openSysfsFunction("/sys/bus/pci/devices", address, reason);
    }
};

} // namespace

PciBackend& nativePciBackend() {
    static LinuxPciBackend backend;
    return backend;
}

} // namespace pci
