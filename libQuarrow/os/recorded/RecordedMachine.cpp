#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <libQuarrow/os/recorded/RecordedAffinityAPI.h>
#include <libQuarrow/os/recorded/RecordedClock.h>
#include <libQuarrow/os/recorded/RecordedDrivers.h>
#include <libQuarrow/os/recorded/RecordedInstructions.h>
#include <libQuarrow/os/recorded/RecordedMachineState.h>
#include <libQuarrow/os/recorded/RecordedPci.h>

namespace libQuarrow::os {

RecordedMachine::RecordedMachine(Recording recording)
    : m_state(std::make_shared<RecordedMachineState>(std::move(recording))),
      m_clock(std::make_unique<RecordedClock>(m_state->recording, m_state->faults)),
      m_instructions(std::make_unique<RecordedInstructions>(*m_state, *m_clock)),
      m_drivers(std::make_unique<RecordedDrivers>(m_state)), m_pci(std::make_unique<RecordedPci>(m_state)) {}

RecordedMachine::~RecordedMachine() = default;

Instructions& RecordedMachine::instructions() {
    return *m_instructions;
}

std::shared_ptr<cpu::AffinityAPI> RecordedMachine::createAffinityAPI() {
    return m_state->faults.noAffinityBackend ? nullptr : std::make_shared<RecordedAffinityAPI>(m_state);
}

Clock& RecordedMachine::clock() {
    return *m_clock;
}

libKernelMode::DriverBackend& RecordedMachine::drivers() {
    return *m_drivers;
}

std::optional<NumaNodes> RecordedMachine::numaNodes() {
    const NumaNodes& nodes = m_state->recording.numaNodes;
    return nodes.empty() ? std::nullopt : std::make_optional(nodes);
}

MicrocodeRevisions RecordedMachine::microcodeRevisions() {
    MicrocodeRevisions revisions;
    for (const RecordedProcessor& processor : m_state->recording.processors) {
        if (processor.microcode) {
            revisions[{processor.group, processor.bit}] = *processor.microcode;
        }
    }
    return revisions;
}

SystemFrequencies RecordedMachine::frequencies(std::uint16_t group, std::uint8_t bit) {
    const auto index = m_state->pins.indexOf(group, bit);
    return index ? m_state->recording.processors[*index].frequencies : SystemFrequencies();
}

pci::PciBackend& RecordedMachine::pciFunctions() {
    return *m_pci;
}

bool RecordedMachine::isTscRateKnown() const {
    return m_clock->isTscRateKnown();
}

const Recording& RecordedMachine::recording() const {
    return m_state->recording;
}

Faults& RecordedMachine::faults() {
    return m_state->faults;
}

} // namespace libQuarrow::os
