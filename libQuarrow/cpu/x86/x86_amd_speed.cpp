#include <libQuarrow/cpu/x86/x86_amd_info.h>

#include <libQuarrow/cpu/x86/AMD_Perf.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

namespace libQuarrow::cpu {

bool x86_amd_info::getSpeedMetrics(x86_speed_metrics& metrics) const {
    const x86_pin pin(*m_cpu);
    if (!m_perf.isValid()) {
        m_perf = zel::SharedResource<zel::PointerStorage<AMD_Perf>>(new AMD_Perf(m_cpu->getSignature()));
    }
    return m_perf->getSpeedMetrics(*m_cpu, metrics);
}

} // namespace libQuarrow::cpu
