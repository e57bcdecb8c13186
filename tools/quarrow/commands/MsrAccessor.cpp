#include <tools/quarrow/commands/MsrAccessor.h>

#include <tools/quarrow/Processors.h>
#include <tools/quarrow/Text.h>

namespace quarrow {

MsrAccessor::MsrAccessor(const libQuarrow::cpu::x86_cpu& cpu) : m_pin(cpu.getAffinityMask(), cpu.usesThreadAffinity()) {
    if (!m_pin.set()) {
        m_failureReason = "logical processor " + numberRanges({&cpu}) +
                          " cannot be reached: it has gone offline, or this process may not run there";
    } else if (!m_driver.openDriver()) {
        m_failureReason = m_driver.failureReason();
    }
}

std::string whyNoMsrs(const libQuarrow::cpu::x86_cpu& cpu) {
    const std::string reason = MsrAccessor(cpu).failureReason();
    return reason.empty() ? reason : "MSRs might tell more: " + oneLine(reason) + ".\n";
}

} // namespace quarrow
