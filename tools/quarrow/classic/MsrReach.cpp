#include <tools/quarrow/classic/MsrReach.h>

#include <tools/quarrow/Text.h>

namespace quarrow {

std::unique_ptr<libKernelMode::MsrAccess> MsrReach::openMsr(std::string& reason) {
    std::unique_ptr<libKernelMode::MsrAccess> access = m_machine.drivers().openMsr(reason);
    if (access == nullptr) {
        m_reason = reason;
    }
    return access;
}

std::string MsrReach::whyNot() const {
    return m_reason.empty() ? m_reason : "MSRs might tell more: " + oneLine(m_reason) + ".\n";
}

} // namespace quarrow
