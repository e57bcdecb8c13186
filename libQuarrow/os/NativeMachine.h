#pragma once

#include <libQuarrow/os/InstructionRoutines.h>
#include <libQuarrow/os/NativeClock.h>

namespace libQuarrow::os {

// The machine that this process runs on. What operating systems do differently lies in their folders: the clock, and
// the members that have no body here.
class NativeMachine final : public Machine {
  public:
    Instructions& instructions() override { return m_instructions; }
    std::shared_ptr<cpu::AffinityAPI> createAffinityAPI() override;
    Clock& clock() override { return m_clock; }
    libKernelMode::DriverBackend& drivers() override { return libKernelMode::nativeDriverBackend(); }
    pci::PciBackend& pciFunctions() override { return pci::nativePciBackend(); }
    std::optional<NumaNodes> numaNodes() override;
    MicrocodeRevisions microcodeRevisions() override;
    SystemFrequencies frequencies(std::uint16_t group, std::uint8_t bit) override;
    std::optional<std::pair<std::uint16_t, std::uint8_t>> currentProcessor() const override;
    bool numbersProcessorsByGroup() const override;

  private:
    InstructionRoutines m_instructions;
    NativeClock m_clock;
};

} // namespace libQuarrow::os
