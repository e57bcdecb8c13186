#include <libQuarrow/machine/Machine.h>

#include <atomic>

namespace libQuarrow::os {
namespace {

std::atomic<Machine*>& replacement() {
    static std::atomic<Machine*> machine{nullptr};
    return machine;
}

} // namespace

// Inline already, but MinGW exports it from the library only where it is defined once more.
constexpr std::uint32_t Clock::realTimePriorityClass;

Instructions::~Instructions() = default;
Clock::~Clock() = default;
Machine::Machine() = default;
Machine::~Machine() = default;

std::optional<NumaNodes> Machine::numaNodes() {
    return std::nullopt;
}

MicrocodeRevisions Machine::microcodeRevisions() {
    return {};
}

std::optional<std::pair<std::uint16_t, std::uint8_t>> Machine::currentProcessor() const {
    return std::nullopt;
}

SystemFrequencies Machine::frequencies(std::uint16_t /*group*/, std::uint8_t /*bit*/) {
    return {};
}

bool Machine::numbersProcessorsByGroup() const {
    return false;
}

const cpu::AMD_TopologyInfo&
Machine::amdTopology(const std::function<std::shared_ptr<const cpu::AMD_TopologyInfo>()>& make) {
    std::call_once(m_amdTopologyOnce, [&] { m_amdTopology = make(); });
    return *m_amdTopology;
}

bool Clock::tellsTscRate() {
    return true;
}

pci::PciBackend& Machine::pciFunctions() {
    return pci::emptyPciBackend();
}

Machine& currentMachine() {
    Machine* machine = replacement();
    return machine != nullptr ? *machine : nativeMachine();
}

ScopedMachine::ScopedMachine(Machine& machine)
    : m_drivers(machine.drivers()), m_pciFunctions(machine.pciFunctions()),
      m_previous(replacement().exchange(&machine)) {}

ScopedMachine::~ScopedMachine() {
    replacement() = m_previous;
}

} // namespace libQuarrow::os
