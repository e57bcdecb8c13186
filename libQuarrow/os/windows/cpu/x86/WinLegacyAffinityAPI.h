#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/os/windows/cpu/x86/CpuLegacyAPI.h>

namespace libQuarrow::cpu {

// Affinities on a Windows without processor groups: values of group 0 alone, one mask of 64 processors.
class WinLegacyAffinityAPI final : public AffinityAPI {
  public:
    explicit WinLegacyAffinityAPI(CpuLegacyAPI api);

    bool setProcessAffinity(const WinAffinity& affinity) override;
    bool setThreadAffinity(const WinAffinity& affinity) override;
    bool supportsCpuGroups() const override;
    boost::optional<std::vector<GroupAffinity>> systemAffinity() override;
    boost::optional<std::vector<GroupAffinity>> processAffinity() override;
    // There is no call that reads it: it is set to the process's for a moment and put back.
    boost::optional<std::vector<GroupAffinity>> threadAffinity() override;

  private:
    bool readMasks(DWORD_PTR& process, DWORD_PTR& system) const;

    CpuLegacyAPI m_api;
};

} // namespace libQuarrow::cpu
