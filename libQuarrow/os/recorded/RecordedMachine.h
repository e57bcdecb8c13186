#pragma once

#include <libQuarrow/machine/Machine.h>
#include <libQuarrow/os/recorded/Faults.h>
#include <libQuarrow/recording/Recording.h>

#include <memory>

namespace libQuarrow::os {

class RecordedMachineState;
class RecordedClock;
class RecordedInstructions;
class RecordedDrivers;
class RecordedPci;

// A machine replayed from a recording.
//
// Pinning selects whose leaves answer; a thread that was never pinned runs on the first processor, one pinned to
// several on the lowest of them that can be pinned. A process affinity moves every thread that has no affinity of its
// own; to set a thread's affinity to what it is without one takes its own away. The affinity backend stands for a
// machine with processor groups, but for a machine without them, which sets process affinities too, when all are in
// group 0.
//
// Differences from a real machine: an absent leaf or sub-leaf answers zeros; a leaf above the maximum answers as the
// vendor's processors do (Intel: the highest standard leaf; others: zeros). The clock is virtual: the performance
// counter (10 MHz) moves on by one second at each reading and stands still otherwise, and the time-stamp counter with
// it at the recorded rate (else the rate that leaf 0x15 or 0x16 states, else 1 GHz), so that a measurement ends at once
// and is exact. Reading or writing an MSR, a byte of memory or a port, or reading a PCI register, that is not in the
// recording fails; where there is none at all, so does opening the driver. Writes change this object, never a file.
class QUARROW_EXPORT RecordedMachine : public Machine {
  public:
    explicit RecordedMachine(Recording recording);
    ~RecordedMachine() override;

    Instructions& instructions() override;
    std::shared_ptr<cpu::AffinityAPI> createAffinityAPI() override;
    Clock& clock() override;
    libKernelMode::DriverBackend& drivers() override;
    std::optional<NumaNodes> numaNodes() override;
    MicrocodeRevisions microcodeRevisions() override;
    SystemFrequencies frequencies(std::uint16_t group, std::uint8_t bit) override;
    pci::PciBackend& pciFunctions() override;

    // Whether the recording tells the rate of the time-stamp counter, so that a measurement is more than 1 GHz made up.
    bool isTscRateKnown() const;
    // Not to be read while another thread writes an MSR, memory or a port.
    const Recording& recording() const;
    Faults& faults();

  private:
    std::shared_ptr<RecordedMachineState> m_state; // shared with affinity backends and open drivers that outlive it
    std::unique_ptr<RecordedClock> m_clock;
    std::unique_ptr<RecordedInstructions> m_instructions;
    std::unique_ptr<RecordedDrivers> m_drivers;
    std::unique_ptr<RecordedPci> m_pci;
};

} // namespace libQuarrow::os
