#pragma once

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/machine/Machine.h>

#include <string>

namespace quarrow {

// The current machine, which it takes the place of until its end, with one thing more: it remembers whether anybody
// asked for an MSR and why there was no way to it. So a report gives advice only where following it could tell more.
class MsrReach final : public libQuarrow::os::Machine, private libKernelMode::DriverBackend {
  public:
    MsrReach() : m_machine(libQuarrow::os::currentMachine()), m_inItsPlace(*this) {}

    libQuarrow::os::Instructions& instructions() override { return m_machine.instructions(); }
    std::shared_ptr<libQuarrow::cpu::AffinityAPI> createAffinityAPI() override { return m_machine.createAffinityAPI(); }
    libQuarrow::os::Clock& clock() override { return m_machine.clock(); }
    libKernelMode::DriverBackend& drivers() override { return *this; }

    // For the end of a report that leaves something unknown: why MSRs did not tell it, in a line. Empty where nobody
    // asked for one since the last call of forget(), or where they are within reach.
    std::string whyNot() const;
    void forget() { m_reason.clear(); }

  private:
    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string& reason) override;

    Machine& m_machine;
    std::string m_reason; // of the last failure
    libQuarrow::os::ScopedMachine m_inItsPlace;
};

} // namespace quarrow
