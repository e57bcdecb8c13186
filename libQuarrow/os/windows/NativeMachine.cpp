#include <libQuarrow/os/NativeMachine.h>

#include <libQuarrow/os/windows/CpuNumaAPI.h>
#include <libQuarrow/os/windows/cpu/x86/WinGroupAffinityAPI.h>
#include <libQuarrow/os/windows/cpu/x86/WinLegacyAffinityAPI.h>

namespace libQuarrow::os {

std::shared_ptr<cpu::AffinityAPI> NativeMachine::createAffinityAPI() {
    if (auto groups = cpu::CpuGroupAPI::create()) {
        return std::make_shared<cpu::WinGroupAffinityAPI>(*groups);
    }
    if (auto legacy = cpu::CpuLegacyAPI::create()) {
        return std::make_shared<cpu::WinLegacyAffinityAPI>(*legacy);
    }
    return nullptr;
}

std::optional<NumaNodes> NativeMachine::numaNodes() {
    return CpuNumaAPI().nodes();
}

// Only the registry has them, which is not read.
MicrocodeRevisions NativeMachine::microcodeRevisions() {
    return {};
}

// Windows tells of one frequency, without saying of what kind: the registry's, measured at its start.
SystemFrequencies NativeMachine::frequencies(std::uint16_t /*group*/, std::uint8_t /*bit*/) {
    return {};
}

// Windows 7 and later have the entry point.
std::optional<std::pair<std::uint16_t, std::uint8_t>> NativeMachine::currentProcessor() const {
    static const auto get = reinterpret_cast<decltype(&::GetCurrentProcessorNumberEx)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "GetCurrentProcessorNumberEx")));
    if (get == nullptr) {
        return std::nullopt;
    }
    PROCESSOR_NUMBER place{};
    get(&place);
    return std::make_pair(std::uint16_t{place.Group}, std::uint8_t{place.Number});
}

bool NativeMachine::numbersProcessorsByGroup() const {
    return true;
}

} // namespace libQuarrow::os
