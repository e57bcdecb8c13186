#include <libQuarrow/os/NativeMachine.h>

#include <libQuarrow/os/linux/SystemFrequencyFiles.h>
#include <libQuarrow/os/linux/SystemMicrocode.h>
#include <libQuarrow/os/linux/SystemNumaNodes.h>
#include <libQuarrow/os/linux/cpu/x86/LinuxAffinityAPI.h>

#include <sched.h>

namespace libQuarrow::os {

std::shared_ptr<cpu::AffinityAPI> NativeMachine::createAffinityAPI() {
    return std::make_shared<cpu::LinuxAffinityAPI>();
}

std::optional<NumaNodes> NativeMachine::numaNodes() {
    constexpr const char* folder = "/sys/devices/system/node";
    // All processors are of the only node. So most machines read no file after the first time; reading two each time
    // took longer than decoding two processors.
    static const std::optional<std::uint32_t> only = onlyPossibleNode(folder);
    const auto system = only ? cpu::LinuxAffinityAPI().systemAffinity() : boost::none;
    if (!system) {
        return readNumaNodes(folder);
    }
    NumaNodes nodes;
    for (const cpu::GroupAffinity& group : *system) {
        nodes[*only].emplace(group.group, group.mask);
    }
    return nodes;
}

MicrocodeRevisions NativeMachine::microcodeRevisions() {
    return readMicrocodeRevisions("/sys/devices/system/cpu", "/proc/cpuinfo");
}

SystemFrequencies NativeMachine::frequencies(std::uint16_t group, std::uint8_t bit) {
    return readFrequencies("/sys/devices/system/cpu/cpu" + std::to_string(group * 64u + bit));
}

std::optional<std::pair<std::uint16_t, std::uint8_t>> NativeMachine::currentProcessor() const {
    const int number = sched_getcpu();
    return number >= 0 ? std::make_optional(std::make_pair(static_cast<std::uint16_t>(number / 64),
                                                           static_cast<std::uint8_t>(number % 64)))
                       : std::nullopt;
}

bool NativeMachine::numbersProcessorsByGroup() const {
    return false;
}

} // namespace libQuarrow::os
