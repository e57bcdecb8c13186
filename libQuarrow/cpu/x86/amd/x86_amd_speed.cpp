#include <libQuarrow/cpu/x86/x86_amd_info.h>

#include <libQuarrow/cpu/x86/amd/AMD_Perf.h>
#include <libQuarrow/cpu/x86/amd/AmdPStates.h>
#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>
#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::cpu {

bool x86_amd_info::getSpeedMetrics(x86_speed_metrics& metrics) const {
    const x86_pin pin(*m_cpu);
    std::uint64_t tsc = 0;
    if (!m_cpu->calculateSpeedTSC(tsc)) {
        return false;
    }
    x86_speed_metrics found;
    found.multiplierPrecision = x86_speed_metrics::trimmedPrecision;
    if (m_cpu->getSignature().displayFamily == 0xF) {
        getSpeedMetricsFamilyF(tsc, found);
    } else {
        if (!m_perf.isValid()) {
            m_perf = zel::SharedResource<zel::PointerStorage<AMD_Perf>>(new AMD_Perf(m_cpu->getSignature()));
        }
        // A rate that a replay made up names no state.
        m_perf->getSpeedMetrics(*m_cpu, os::currentMachine().clock().tellsTscRate() ? tsc : 0, found);
    }
    if (!completeSpeedMetrics(*m_cpu, 0, found)) {
        return false;
    }
    metrics = found;
    return true;
}

// No P-state registers. The lowest multiplier is not told.
void x86_amd_info::getSpeedMetricsFamilyF(std::uint64_t tsc, x86_speed_metrics& metrics) const {
    std::uint64_t status = 0;
    if (m_cpu->callRDMSR(AmdFidVid::msr, status)) {
        metrics.currentMultiplier = AmdFidVid(status).current();
        metrics.maxMultiplier = AmdFidVid(status).base();
        metrics.busClock = AmdFidVid::busMHz * std::uint64_t{1000000};
    } else if (!m_cpu->supportsFeature(x86_feature_TSC_INVARIANT)) {
        metrics.currentSpeed = tsc; // this family's counter counts the core's own clocks
    }
}

} // namespace libQuarrow::cpu
