#include <libQuarrow/os/windows/cpu/x86/WinGroupAffinityAPI.h>

#include <libQuarrow/cpu/WinAffinity.h>

#include <utility>

namespace libQuarrow::cpu {

GroupAffinity::GroupAffinity(const _GROUP_AFFINITY& system) : group(system.Group), mask(system.Mask) {}

WinGroupAffinityAPI::WinGroupAffinityAPI(CpuGroupAPI api, boost::optional<CpuSetAPI> cpuSets)
    : m_api(std::move(api)), m_cpuSets(std::move(cpuSets)) {}

// Meant to refuse every value: with processor groups the process affinity is never changed.
bool WinGroupAffinityAPI::setProcessAffinity(const WinAffinity&) {
    return false;
}

bool WinGroupAffinityAPI::setThreadAffinity(const WinAffinity& affinity) {
    if (!affinity) {
        return false;
    }
    // Only the first entry counts, and that is meant: a thread's affinity lies in one group.
    const GroupAffinity& first = affinity.groups().front();
    _GROUP_AFFINITY wanted{};
    wanted.Mask = first.mask;
    wanted.Group = first.group;
    _GROUP_AFFINITY previous{};
    if (m_api.m_pSetThreadGroupAffinity(GetCurrentThread(), &wanted, &previous) == FALSE) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    const bool asRead = affinity.groups().size() == 1 && first.group == m_thread.group && first.mask == m_thread.mask;
    if (asRead && !m_threadCpuSets.empty()) {
        m_cpuSets->m_pSetThreadSelectedCpuSetMasks(GetCurrentThread(), m_threadCpuSets.data(),
                                                   static_cast<USHORT>(m_threadCpuSets.size()));
    }
    return true;
}

bool WinGroupAffinityAPI::supportsCpuGroups() const {
    return true;
}

std::vector<GroupAffinity> WinGroupAffinityAPI::systemGroups() const {
    const std::vector<_GROUP_AFFINITY> groups = m_api.getProcessGroupAffinity();
    return std::vector<GroupAffinity>(groups.begin(), groups.end());
}

boost::optional<std::vector<GroupAffinity>> WinGroupAffinityAPI::systemAffinity() {
    return systemGroups();
}

boost::optional<std::vector<GroupAffinity>> WinGroupAffinityAPI::processAffinity() {
    return systemAffinity();
}

boost::optional<std::vector<GroupAffinity>> WinGroupAffinityAPI::threadAffinity() {
    _GROUP_AFFINITY affinity{};
    if (m_api.m_pGetThreadGroupAffinity(GetCurrentThread(), &affinity) == FALSE) {
        return boost::none;
    }
    std::vector<GROUP_AFFINITY> cpuSets = cpuSetsOf(affinity);
    std::vector groups{GroupAffinity(affinity)};
    const std::lock_guard lock(m_mutex);
    m_thread = groups.front();
    m_threadCpuSets = std::move(cpuSets);
    return groups;
}

// The CPU sets of the calling thread, whose affinity in its primary group this is. Where none are selected, one that
// has the whole of that group may run in all groups, which then stand for what it has: the system does not tell whether
// it was bound to that group before. The process's default sets are no business of the thread's.
std::vector<GROUP_AFFINITY> WinGroupAffinityAPI::cpuSetsOf(const GROUP_AFFINITY& affinity) const {
    if (!m_cpuSets) {
        return {};
    }
    std::vector<GROUP_AFFINITY> selected = m_cpuSets->ofThread();
    if (!selected.empty() || !m_cpuSets->ofProcess().empty()) {
        return selected;
    }
    const WinAffinity system(systemGroups());
    bool wholeGroup = false;
    for (const GroupAffinity& group : system.groups()) {
        wholeGroup = wholeGroup || (group.group == affinity.Group && group.mask == affinity.Mask);
        selected.push_back({group.mask, group.group, {}});
    }
    return wholeGroup && selected.size() > 1 ? selected : std::vector<GROUP_AFFINITY>();
}

} // namespace libQuarrow::cpu
