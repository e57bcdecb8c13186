#include <libQuarrow/os/windows/cpu/x86/WinGroupAffinityAPI.h>

#include <libQuarrow/cpu/WinAffinity.h>

#include <utility>

namespace libQuarrow::cpu {

GroupAffinity::GroupAffinity(const _GROUP_AFFINITY& system) : group(system.Group), mask(system.Mask) {}

WinGroupAffinityAPI::WinGroupAffinityAPI(CpuGroupAPI api) : m_api(std::move(api)) {}

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
    return m_api.m_pSetThreadGroupAffinity(GetCurrentThread(), &wanted, &previous) != FALSE;
}

bool WinGroupAffinityAPI::supportsCpuGroups() const {
    return true;
}

boost::optional<std::vector<GroupAffinity>> WinGroupAffinityAPI::systemAffinity() {
    const std::vector<_GROUP_AFFINITY> groups = m_api.getProcessGroupAffinity();
    return std::vector<GroupAffinity>(groups.begin(), groups.end());
}

boost::optional<std::vector<GroupAffinity>> WinGroupAffinityAPI::processAffinity() {
    return systemAffinity();
}

boost::optional<std::vector<GroupAffinity>> WinGroupAffinityAPI::threadAffinity() {
    _GROUP_AFFINITY affinity{};
    if (m_api.m_pGetThreadGroupAffinity(GetCurrentThread(), &affinity) == FALSE) {
        return boost::none;
    }
    return std::vector{GroupAffinity(affinity)};
}

} // namespace libQuarrow::cpu
