#include <libQuarrow/os/windows/cpu/x86/WinLegacyAffinityAPI.h>

#include <libQuarrow/cpu/WinAffinity.h>

#include <utility>

namespace libQuarrow::cpu {
namespace {

// The one mask that such a system understands.
boost::optional<DWORD_PTR> singleMask(const WinAffinity& affinity) {
    const std::vector<GroupAffinity>& groups = affinity.groups();
    if (groups.size() != 1 || groups.front().group != 0) {
        return boost::none;
    }
    return DWORD_PTR{groups.front().mask};
}

std::vector<GroupAffinity> groupZero(DWORD_PTR mask) {
    return {GroupAffinity(0, mask)};
}

} // namespace

WinLegacyAffinityAPI::WinLegacyAffinityAPI(CpuLegacyAPI api) : m_api(std::move(api)) {}

bool WinLegacyAffinityAPI::setProcessAffinity(const WinAffinity& affinity) {
    const auto mask = singleMask(affinity);
    return mask && m_api.m_pSetProcessAffinityMask(GetCurrentProcess(), *mask) > 0;
}

bool WinLegacyAffinityAPI::setThreadAffinity(const WinAffinity& affinity) {
    const auto mask = singleMask(affinity);
    return mask && m_api.m_pSetThreadAffinityMask(GetCurrentThread(), *mask) != 0;
}

bool WinLegacyAffinityAPI::supportsCpuGroups() const {
    return false;
}

bool WinLegacyAffinityAPI::readMasks(DWORD_PTR& process, DWORD_PTR& system) const {
    return m_api.m_pGetProcessAffinityMask(GetCurrentProcess(), &process, &system) != FALSE;
}

boost::optional<std::vector<GroupAffinity>> WinLegacyAffinityAPI::systemAffinity() {
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    return readMasks(process, system) ? boost::make_optional(groupZero(system)) : boost::none;
}

boost::optional<std::vector<GroupAffinity>> WinLegacyAffinityAPI::processAffinity() {
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    return readMasks(process, system) ? boost::make_optional(groupZero(process)) : boost::none;
}

boost::optional<std::vector<GroupAffinity>> WinLegacyAffinityAPI::threadAffinity() {
    DWORD_PTR process = 0;
    DWORD_PTR system = 0;
    if (!readMasks(process, system)) {
        return boost::none;
    }
    const DWORD_PTR own = m_api.m_pSetThreadAffinityMask(GetCurrentThread(), process);
    if (own == 0) {
        return boost::none;
    }
    m_api.m_pSetThreadAffinityMask(GetCurrentThread(), own);
    return groupZero(own);
}

} // namespace libQuarrow::cpu
