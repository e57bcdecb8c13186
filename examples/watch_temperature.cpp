// Watches the temperature of each package for ten seconds, through a temperature accessor of its own that reads the
// thermal registers of Intel processors. Reading them needs a driver; without one the program says so and ends with 1.
//     watch_temperature [RECORDING]

#include "MachineArgument.h"

#include <libKernelMode/MsrDriver.h>
#include <libQuarrow/cpu/ICpuTemperatureAccessor.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <chrono>
#include <iostream>
#include <thread>

using namespace libQuarrow::cpu;

namespace {

// The temperature of an Intel package. The processor reports how far it is below the temperature at which it starts to
// throttle. Intel SDM volume 4: IA32_PACKAGE_THERM_STATUS; volume 2: CPUID leaf 6.
class PackageTemperature : public ICpuTemperatureAccessor {
  public:
    explicit PackageTemperature(const x86_cpu& cpu) : m_cpu(cpu) {}

    ICpuTemperatureAccessor* clone() const override { return new PackageTemperature(*this); }

    bool getCurrentTemperature(zel::Temperature& temperature) const override {
        unsigned int features = 0;
        std::uint64_t status = 0;
        zel::Temperature threshold;
        if (!getTemperatureThreshold(threshold) || !m_cpu.callCPUID(6, &features, nullptr, nullptr, nullptr) ||
            (features & packageThermalManagement) == 0 || !m_cpu.callRDMSR(packageThermalStatus, status)) {
            return false;
        }
        const int degreesBelow = static_cast<int>(status >> 16 & 0x7F);
        temperature = zel::Temperature(threshold.getIntegerValue() - degreesBelow);
        return true;
    }

    bool getTemperatureThreshold(zel::Temperature& threshold) const override {
        const auto* intel = dynamic_cast<const x86_intel_info*>(m_cpu.vendorInfo());
        std::uint32_t celsius = 0;
        if (intel == nullptr || !intel->getTCCActivationTemperature(celsius)) {
            return false;
        }
        threshold = zel::Temperature(static_cast<int>(celsius));
        return true;
    }

  private:
    static constexpr unsigned int packageThermalStatus = 0x1B1;       // bits 22 to 16: degrees below the threshold
    static constexpr unsigned int packageThermalManagement = 1u << 6; // CPUID leaf 6 EAX: there is that register

    x86_cpu m_cpu; // a copy: the package may go away before this object does
};

// One line for each package that has a temperature. False when none has.
bool printTemperatures(const x86_physical_cpus& tree) {
    bool any = false;
    for (std::size_t p = 0; p < tree.size(); ++p) {
        const auto info = tree[p].getTemperatureAccessor()->getTemperatureInfo();
        if (!info || !info->temperature) {
            continue;
        }
        std::cout << "package " << tree[p].getCpuNumber() << ": " << info->temperature->toString();
        if (info->thresholdOffset) {
            std::cout << ", throttles " << info->thresholdOffset->toString() << " above";
        }
        std::cout << std::endl;
        any = true;
    }
    return any;
}

} // namespace

int main(int argc, char** argv) {
    MachineArgument machine;
    if (!machine.use(argc, argv)) {
        return 2;
    }
    libKernelMode::MsrDriver driver;
    if (!driver.openDriver()) {
        std::cerr << "No temperature: " << driver.failureReason() << "\n";
        return 1;
    }
    x86_physical_cpus tree(true);
    for (std::size_t p = 0; p < tree.size(); ++p) {
        tree[p].setTemperatureAccessor(new PackageTemperature(tree[p].get())); // the package owns it
    }
    const int readings = machine.isRecorded() ? 1 : 10; // a recording's temperature stays as it is
    for (int i = 0; i < readings; ++i) {
        if (i > 0) {
            std::this_thread::sleep_for(std::chrono::seconds(1));
        }
        if (!printTemperatures(tree)) {
            std::cerr << "No temperature: no package has the register that this program reads.\n";
            return 1;
        }
    }
    return 0;
}
