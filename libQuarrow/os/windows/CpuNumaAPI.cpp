#include <libQuarrow/os/windows/CpuNumaAPI.h>

#include <libQuarrow/os/windows/cpu/x86/bind.h>

namespace libQuarrow::os {

CpuNumaAPI::CpuNumaAPI() : m_kernel32("kernel32.dll") {
    if (m_kernel32.load()) {
        cpu::bind(m_kernel32, "GetNumaHighestNodeNumber", m_pGetNumaHighestNodeNumber);
        cpu::bind(m_kernel32, "GetNumaNodeProcessorMaskEx", m_pGetNumaNodeProcessorMaskEx);
    }
}

std::optional<NumaNodes> CpuNumaAPI::nodes() const {
    ULONG highest = 0;
    if (m_pGetNumaHighestNodeNumber == nullptr || m_pGetNumaNodeProcessorMaskEx == nullptr ||
        m_pGetNumaHighestNodeNumber(&highest) == FALSE || highest > UINT16_MAX) {
        return std::nullopt;
    }
    NumaNodes nodes;
    for (ULONG node = 0; node <= highest; ++node) {
        GROUP_AFFINITY affinity{};
        if (m_pGetNumaNodeProcessorMaskEx(static_cast<USHORT>(node), &affinity) != FALSE && affinity.Mask != 0) {
            nodes[node][affinity.Group] |= affinity.Mask;
        }
    }
    return nodes.empty() ? std::nullopt : std::make_optional(std::move(nodes));
}

} // namespace libQuarrow::os
