#include <libQuarrow/os/windows/cpu/x86/CpuGroupAPI.h>

#include <libQuarrow/os/windows/cpu/x86/bind.h>

#include <algorithm>
#include <cstddef>

namespace libQuarrow::cpu {
namespace {

using GroupRecord = _SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX;

// The part of a record that each has: its relationship and its size.
constexpr DWORD headerSize = offsetof(GroupRecord, Processor);
constexpr DWORD groupMaskOffset = offsetof(GroupRecord, Processor.GroupMask);

} // namespace

CpuGroupAPI::CpuGroupAPI() : m_kernel32("kernel32.dll") {
    if (!m_kernel32.load()) {
        return;
    }
    bind(m_kernel32, "GetLogicalProcessorInformationEx", m_pGetLogicalProcessorInformationEx);
    bind(m_kernel32, "GetProcessGroupAffinity", m_pGetProcessGroupAffinity);
    bind(m_kernel32, "GetThreadGroupAffinity", m_pGetThreadGroupAffinity);
    bind(m_kernel32, "SetThreadGroupAffinity", m_pSetThreadGroupAffinity);
}

boost::optional<CpuGroupAPI> CpuGroupAPI::create() {
    static const CpuGroupAPI bound;
    const bool complete = bound.m_pGetLogicalProcessorInformationEx != nullptr &&
                          bound.m_pGetProcessGroupAffinity != nullptr && bound.m_pGetThreadGroupAffinity != nullptr &&
                          bound.m_pSetThreadGroupAffinity != nullptr;
    return complete ? boost::optional<CpuGroupAPI>(bound) : boost::none;
}

void CpuGroupAPI::walkLogicalCpuInfo(_LOGICAL_PROCESSOR_RELATIONSHIP relationship,
                                     std::function<void(const GroupRecord&)> visitor) const {
    DWORD length = 0;
    if (m_pGetLogicalProcessorInformationEx(relationship, nullptr, &length) != FALSE || length == 0) {
        return;
    }
    std::vector<std::byte> buffer(length);
    if (m_pGetLogicalProcessorInformationEx(relationship, reinterpret_cast<GroupRecord*>(buffer.data()), &length) ==
        FALSE) {
        return;
    }
    length = std::min(length, static_cast<DWORD>(buffer.size()));
    DWORD offset = 0;
    while (length - offset >= headerSize) {
        const auto& record = *reinterpret_cast<const GroupRecord*>(buffer.data() + offset);
        // Neither a size of zero nor one past the buffer may lead the walk astray.
        if (record.Size < headerSize || record.Size > length - offset) {
            return;
        }
        visitor(record);
        offset += record.Size;
    }
}

std::vector<_GROUP_AFFINITY> CpuGroupAPI::getProcessGroupAffinity() const {
    std::vector<_GROUP_AFFINITY> groups;
    walkLogicalCpuInfo(RelationProcessorPackage, [&groups](const GroupRecord& record) {
        if (record.Size < groupMaskOffset) {
            return;
        }
        const std::size_t room = (record.Size - groupMaskOffset) / sizeof(_GROUP_AFFINITY);
        const std::size_t count = std::min<std::size_t>(record.Processor.GroupCount, room);
        groups.insert(groups.end(), record.Processor.GroupMask, record.Processor.GroupMask + count);
    });
    return groups;
}

} // namespace libQuarrow::cpu
