#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/os/recorded/RecordedMachineState.h>

#include <memory>

namespace libQuarrow::os {

// Private to the library: the affinity backend of a recorded machine.
class RecordedAffinityAPI : public cpu::AffinityAPI {
  public:
    explicit RecordedAffinityAPI(std::shared_ptr<RecordedMachineState> state) : m_state(std::move(state)) {}

    bool setProcessAffinity(const cpu::WinAffinity& affinity) override;
    bool setThreadAffinity(const cpu::WinAffinity& affinity) override;
    bool supportsCpuGroups() const override;
    boost::optional<std::vector<cpu::GroupAffinity>> systemAffinity() override;
    boost::optional<std::vector<cpu::GroupAffinity>> processAffinity() override;
    boost::optional<std::vector<cpu::GroupAffinity>> threadAffinity() override;

  private:
    const std::shared_ptr<RecordedMachineState> m_state;
};

} // namespace libQuarrow::os
