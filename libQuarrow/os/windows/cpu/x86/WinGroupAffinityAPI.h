#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/os/windows/cpu/x86/CpuGroupAPI.h>

namespace libQuarrow::cpu {

// Affinities on a Windows with processor groups. A thread is in one group at a time, and the process affinity is left
// alone: it cannot be set without taking the process out of all groups but one.
class WinGroupAffinityAPI final : public AffinityAPI {
  public:
    explicit WinGroupAffinityAPI(CpuGroupAPI api);

    bool setProcessAffinity(const WinAffinity& affinity) override; // never: false
    bool setThreadAffinity(const WinAffinity& affinity) override;  // the first group of the value; others are ignored
    bool supportsCpuGroups() const override;
    boost::optional<std::vector<GroupAffinity>> systemAffinity() override;
    boost::optional<std::vector<GroupAffinity>> processAffinity() override; // the system's
    boost::optional<std::vector<GroupAffinity>> threadAffinity() override;

  private:
    CpuGroupAPI m_api;
};

} // namespace libQuarrow::cpu
