#include <tools/quarrow/commands/MsrAccessor.h>

#include <tools/quarrow/classic/Processors.h>

namespace quarrow {

MsrAccessor::MsrAccessor(const libQuarrow::cpu::x86_cpu& cpu) : m_pin(cpu.getAffinityMask(), cpu.usesThreadAffinity()) {
    if (!m_pin.set()) {
        m_failureReason = "logical processor " + numberRanges({&cpu}) +
                          " cannot be reached: it has gone offline, or this process may not run there";
    } else if (!m_driver.openDriver()) {
        m_failureReason = m_driver.failureReason();
    }
}

} // namespace quarrow
