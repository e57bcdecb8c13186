#include <libQuarrow/machine/Machine.h>

#include <libKernelMode/DriverBackend.h>

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

bool Machine::numbersProcessorsByGroup() const {
    return false;
}

const void* Machine::keptObject(std::type_index type, const std::function<std::shared_ptr<void>()>& make) {
    KeptObject* kept = nullptr;
    {
        const std::lock_guard lock(m_keptMutex);
        kept = &m_kept[type];
    }
    std::call_once(kept->once, [&] { kept->object = make(); });
    return kept->object.get();
}

Machine& currentMachine() {
    Machine* machine = replacement();
    return machine != nullptr ? *machine : nativeMachine();
}

ScopedMachine::ScopedMachine(Machine& machine)
    : m_previous(replacement().exchange(&machine)),
      m_previousDrivers(libKernelMode::setDriverBackend(&machine.drivers())) {}

ScopedMachine::~ScopedMachine() {
    replacement() = m_previous;
    libKernelMode::setDriverBackend(m_previousDrivers);
}

} // namespace libQuarrow::os
