#pragma once

#include <libQuarrow/machine/NumaNodes.h>
#include <libQuarrow/machine/cpuid_args.h>
#include <libQuarrow/quarrow_export.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <typeindex>

namespace libKernelMode {
class DriverBackend;
}

namespace libQuarrow::cpu {
class AffinityAPI;
}

namespace libQuarrow::os {

// The instructions, executed on the processor that the calling thread is on.
class QUARROW_EXPORT Instructions {
  public:
    virtual ~Instructions();
    virtual void cpuid(cpu::cpuid_args& registers) = 0;
    virtual std::uint64_t rdtsc() = 0;
    // XGETBV with ECX = index. Only to be called where CPUID says OSXSAVE.
    virtual std::uint64_t xgetbv(std::uint32_t index) = 0;
    // Whether bit 21 of EFLAGS can be toggled, that is, whether there is a CPUID instruction.
    virtual bool cpuidBitToggles() = 0;
};

// The performance counter and the priority class of the process.
class QUARROW_EXPORT Clock {
  public:
    // The class that a measurement raises the process to (the value that Windows gives its real-time class).
    static constexpr std::uint32_t realTimePriorityClass = 0x100;

    virtual ~Clock();
    virtual bool frequency(std::uint64_t& countsPerSecond) = 0;
    virtual bool counter(std::uint64_t& counts) = 0;
    virtual bool priorityClass(std::uint32_t& value) = 0;
    virtual bool setPriorityClass(std::uint32_t value) = 0;
};

// The only door to the hardware and the operating system: the machine that this process runs on, a recorded one, or one
// that a test makes up.
class QUARROW_EXPORT Machine {
  public:
    Machine();
    virtual ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    virtual Instructions& instructions() = 0;
    // A new affinity backend; null when none can be made.
    virtual std::shared_ptr<cpu::AffinityAPI> createAffinityAPI() = 0;
    virtual Clock& clock() = 0;
    virtual libKernelMode::DriverBackend& drivers() = 0;
    // None where the operating system does not tell them, as it is by default.
    virtual std::optional<NumaNodes> numaNodes();
    // Whether the operating system numbers its processors group by group, without gaps between groups, as Windows does;
    // false, as it is by default: processor n is bit n mod 64 of group n / 64.
    virtual bool numbersProcessorsByGroup() const;

    // The value of type T that belongs to this machine, made by `make` on first use and kept until the machine ends.
    // Any thread may be first; the others wait for it. `make` may ask for values of other types, not for T.
    template <class T>
    const T& kept(const std::function<T()>& make) {
        return *static_cast<const T*>(
            keptObject(typeid(T), [&make]() -> std::shared_ptr<void> { return std::make_shared<T>(make()); }));
    }

  private:
    struct KeptObject {
        std::once_flag once;
        std::shared_ptr<void> object;
    };
    const void* keptObject(std::type_index type, const std::function<std::shared_ptr<void>()>& make);

    std::mutex m_keptMutex;
    std::map<std::type_index, KeptObject> m_kept; // a map: its elements never move
};

// The machine that this process runs on. Defined once per operating system.
QUARROW_EXPORT Machine& nativeMachine();
// The native machine, or the one that a ScopedMachine has put in its place.
QUARROW_EXPORT Machine& currentMachine();

// Makes `machine` the current one, with its drivers, until the end of the scope; then the one before is back. Scopes
// nest. To be used before any other thread uses the library.
class QUARROW_EXPORT ScopedMachine {
  public:
    explicit ScopedMachine(Machine& machine);
    ~ScopedMachine();
    ScopedMachine(const ScopedMachine&) = delete;
    ScopedMachine& operator=(const ScopedMachine&) = delete;

  private:
    Machine* m_previous;
    libKernelMode::DriverBackend* m_previousDrivers;
};

} // namespace libQuarrow::os
