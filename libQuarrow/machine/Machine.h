#pragma once

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/machine/MicrocodeRevisions.h>
#include <libQuarrow/machine/NumaNodes.h>
#include <libQuarrow/machine/SystemFrequencies.h>
#include <libQuarrow/machine/cpuid_args.h>
#include <libQuarrow/quarrow_export.h>
#include <pci/PciBackend.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace libQuarrow::cpu {
class AMD_TopologyInfo;
class AffinityAPI;
} // namespace libQuarrow::cpu

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
    // Whether the rate of a time-stamp counter that is measured against this clock is the machine's. False where a
    // replay has to make the rate up.
    virtual bool tellsTscRate();
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
    // Of the processors whose revision the operating system tells, none by default. Takes some microseconds for each
    // processor: to be asked once, and only by those who want to know.
    virtual MicrocodeRevisions microcodeRevisions();
    // Of the processor at that place in that group. None of them where the operating system does not tell, as it is by
    // default.
    virtual SystemFrequencies frequencies(std::uint16_t group, std::uint8_t bit);
    // Processor group and place in it of the processor that the calling thread is on; by the time of the answer it may
    // be on another one. None where the operating system does not tell, as it is by default.
    virtual std::optional<std::pair<std::uint16_t, std::uint8_t>> currentProcessor() const;
    // Whether the operating system numbers its processors group by group, without gaps between groups, as Windows does;
    // false, as it is by default: processor n is bit n mod 64 of group n / 64.
    virtual bool numbersProcessorsByGroup() const;
    // A machine that does not override it has no PCI.
    virtual pci::PciBackend& pciFunctions();

    // Where AMD's processors sit, which takes a visit to each of them: made by `make` on first use and kept until this
    // machine ends, so that no machine sees the answers of another one. Any thread may be first; the others wait for
    // it. Library code only: AMD_TopologyInfo asks for it.
    const cpu::AMD_TopologyInfo& amdTopology(const std::function<std::shared_ptr<const cpu::AMD_TopologyInfo>()>& make);

  private:
    std::once_flag m_amdTopologyOnce;
    std::shared_ptr<const cpu::AMD_TopologyInfo> m_amdTopology;
};

// The machine that this process runs on. Defined once per operating system.
QUARROW_EXPORT Machine& nativeMachine();
// The native machine, or the one that a ScopedMachine has put in its place.
QUARROW_EXPORT Machine& currentMachine();

// Makes `machine` the current one, with its drivers and PCI functions, until the end of the scope; then the one before
// is back, with its own. Scopes nest. To be used before any other thread uses the library.
class QUARROW_EXPORT ScopedMachine {
  public:
    explicit ScopedMachine(Machine& machine);
    ~ScopedMachine();
    ScopedMachine(const ScopedMachine&) = delete;
    ScopedMachine& operator=(const ScopedMachine&) = delete;

  private:
    const libKernelMode::ScopedDriverBackend m_drivers;
    const pci::ScopedPciBackend m_pciFunctions;
    Machine* const m_previous; // null: the native one
};

} // namespace libQuarrow::os
