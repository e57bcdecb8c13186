#pragma once

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/machine/Machine.h>
#include <libQuarrow/recording/Recording.h>
#include <pci/PciBackend.h>

namespace libQuarrow::os {

// Private to the library: another machine that notes every MSR that is read successfully, in the recording's processor
// that the thread is pinned to, and every PCI register. So a recording gets just those registers that its questions
// need. What was read first stays. To be used by one thread.
class NotingMachine : public Machine, private libKernelMode::DriverBackend, private pci::PciBackend {
  public:
    // Both must outlive this object, and the recording must keep its processors where they are.
    NotingMachine(Machine& machine, Recording& recording) : m_machine(machine), m_recording(recording) {}

    Instructions& instructions() override { return m_machine.instructions(); }
    std::shared_ptr<cpu::AffinityAPI> createAffinityAPI() override { return m_machine.createAffinityAPI(); }
    Clock& clock() override { return m_machine.clock(); }
    libKernelMode::DriverBackend& drivers() override { return *this; }
    std::optional<NumaNodes> numaNodes() override { return m_machine.numaNodes(); }
    MicrocodeRevisions microcodeRevisions() override { return m_machine.microcodeRevisions(); }
    SystemFrequencies frequencies(std::uint16_t group, std::uint8_t bit) override {
        return m_machine.frequencies(group, bit);
    }
    bool numbersProcessorsByGroup() const override { return m_machine.numbersProcessorsByGroup(); }
    pci::PciBackend& pciFunctions() override { return *this; }

  private:
    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string& reason) override;
    std::unique_ptr<pci::ConfigAccess> openFunction(const pci::PciAddress& address, std::string& reason) override;
    RecordedProcessor* processorHere();

    Machine& m_machine;
    Recording& m_recording;
};

} // namespace libQuarrow::os
