#include <libQuarrow/os/NativeMachine.h>

#include <libQuarrow/os/linux/SystemMicrocode.h>
#include <libQuarrow/os/linux/SystemNumaNodes.h>
#include <libQuarrow/os/linux/cpu/x86/LinuxAffinityAPI.h>

namespace libQuarrow::os {

std::shared_ptr<cpu::AffinityAPI> NativeMachine::createAffinityAPI() {
    return std::make_shared<cpu::LinuxAffinityAPI>();
}

std::optional<NumaNodes> NativeMachine::numaNodes() {
    return readNumaNodes("/sys/devices/system/node");
}

MicrocodeRevisions NativeMachine::microcodeRevisions() {
    return readMicrocodeRevisions("/sys/devices/system/cpu", "/proc/cpuinfo");
}

bool NativeMachine::numbersProcessorsByGroup() const {
    return false;
}

} // namespace libQuarrow::os
