#include <libQuarrow/os/recorded/RecordedAffinityAPI.h>

#include <libQuarrow/cpu/WinAffinity.h>

namespace libQuarrow::os {

using Groups = std::vector<cpu::GroupAffinity>;

bool RecordedAffinityAPI::setProcessAffinity(const cpu::WinAffinity& affinity) {
    return m_state->pins.setProcess(affinity.groups());
}

bool RecordedAffinityAPI::setThreadAffinity(const cpu::WinAffinity& affinity) {
    return m_state->pins.setThread(affinity.groups());
}

bool RecordedAffinityAPI::supportsCpuGroups() const {
    return m_state->pins.hasGroups();
}

boost::optional<Groups> RecordedAffinityAPI::systemAffinity() {
    return boost::make_optional(!m_state->faults.systemAffinityUnreadable, m_state->pins.system());
}

boost::optional<Groups> RecordedAffinityAPI::processAffinity() {
    if (m_state->faults.processAffinityUnreadable) {
        return boost::none;
    }
    return m_state->pins.hasGroups() ? m_state->pins.system() : Groups{m_state->pins.process()};
}

boost::optional<Groups> RecordedAffinityAPI::threadAffinity() {
    return boost::make_optional(!m_state->faults.threadAffinityUnreadable, Groups{m_state->pins.thread()});
}

} // namespace libQuarrow::os
