#include <libQuarrow/cpu/x86/x86_amd_info.h>

#include <libQuarrow/cpu/x86/amd/AMD_Perf.h>
#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>
#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::cpu {
namespace {

// Family 0xF, FIDVID Status: bits 5:0 the current FID, 13:8 the one at start, 21:16 the highest. BIOS and kernel
// developer's guide 32559.
constexpr std::uint32_t msrFidVidStatus = 0xC0010042;
constexpr std::uint64_t hypertransportClock = 200000000;

double fidMultiplier(std::uint64_t fid) {
    return (800.0 + 100.0 * static_cast<double>(fid & 0x3F)) / 200.0;
}

} // namespace

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

// No P-state registers. The highest code in the highest FID marks a part whose multiplier is not limited; what it is
// sold with is then what it starts with. The lowest one is not told.
void x86_amd_info::getSpeedMetricsFamilyF(std::uint64_t tsc, x86_speed_metrics& metrics) const {
    constexpr std::uint64_t unlimitedFid = 0x2A;
    std::uint64_t status = 0;
    if (m_cpu->callRDMSR(msrFidVidStatus, status)) {
        const std::uint64_t highest = status >> 16 & 0x3F;
        metrics.currentMultiplier = fidMultiplier(status);
        metrics.maxMultiplier = fidMultiplier(highest != unlimitedFid ? highest : status >> 8);
        metrics.busClock = hypertransportClock;
    } else if (!m_cpu->supportsFeature(x86_feature_TSC_INVARIANT)) {
        metrics.currentSpeed = tsc; // this family's counter counts the core's own clocks
    }
}

} // namespace libQuarrow::cpu
