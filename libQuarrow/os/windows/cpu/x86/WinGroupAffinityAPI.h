#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/os/windows/cpu/x86/CpuGroupAPI.h>
#include <libQuarrow/os/windows/cpu/x86/CpuSetAPI.h>

#include <mutex>

namespace libQuarrow::cpu {

// Affinities on a Windows with processor groups. The affinity of a thread that can be read and set lies in one group,
// and the process affinity is left alone: it cannot be set without taking the process out of all groups but one.
//
// Since Windows 11 and Server 2022 a thread may run in all groups until its affinity is set. A backend remembers the
// CPU sets that a thread had with the affinity that it read last; setting just that affinity through the same backend
// selects them again. Doing so allocates no memory.
class WinGroupAffinityAPI final : public AffinityAPI {
  public:
    // `cpuSets` is none on a system without them.
    explicit WinGroupAffinityAPI(CpuGroupAPI api, boost::optional<CpuSetAPI> cpuSets = CpuSetAPI::create());

    bool setProcessAffinity(const WinAffinity& affinity) override; // never: false
    bool setThreadAffinity(const WinAffinity& affinity) override;  // the first group of the value; others are ignored
    bool supportsCpuGroups() const override;
    boost::optional<std::vector<GroupAffinity>> systemAffinity() override;
    boost::optional<std::vector<GroupAffinity>> processAffinity() override; // the system's
    boost::optional<std::vector<GroupAffinity>> threadAffinity() override;

  private:
    std::vector<GroupAffinity> systemGroups() const;
    std::vector<GROUP_AFFINITY> cpuSetsOf(const GROUP_AFFINITY& affinity) const;

    CpuGroupAPI m_api;
    boost::optional<CpuSetAPI> m_cpuSets;
    std::mutex m_mutex; // guards what was read last
    GroupAffinity m_thread;
    std::vector<GROUP_AFFINITY> m_threadCpuSets; // of that thread
};

} // namespace libQuarrow::cpu
