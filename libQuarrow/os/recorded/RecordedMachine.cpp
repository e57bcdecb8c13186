#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <libQuarrow/os/recorded/RecordedAffinityAPI.h>
#include <libQuarrow/os/recorded/RecordedMachineState.h>

namespace libQuarrow::os {

RecordedMachine::RecordedMachine(Recording recording)
    : m_state(std::make_shared<RecordedMachineState>(std::move(recording))) {}

RecordedMachine::~RecordedMachine() = default;

Instructions& RecordedMachine::instructions() {
    return *m_state;
}

std::shared_ptr<cpu::AffinityAPI> RecordedMachine::createAffinityAPI() {
    return m_state->faults.noAffinityBackend ? nullptr : std::make_shared<RecordedAffinityAPI>(m_state);
}

Clock& RecordedMachine::clock() {
    return *m_state;
}

libKernelMode::DriverBackend& RecordedMachine::drivers() {
    return *m_state;
}

bool RecordedMachine::isTscRateKnown() const {
    return m_state->statedTscHertz().has_value();
}

const Recording& RecordedMachine::recording() const {
    return m_state->recording;
}

Faults& RecordedMachine::faults() {
    return m_state->faults;
}

} // namespace libQuarrow::os
