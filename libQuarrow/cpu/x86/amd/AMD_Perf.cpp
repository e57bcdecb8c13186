#include <libQuarrow/cpu/x86/amd/AMD_Perf.h>

#include <libQuarrow/cpu/x86/amd/AmdPStates.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

namespace libQuarrow::cpu {

AMD_Perf::AMD_Perf(const x86_cpu_signature& signature)
    : m_family(amdPStateFamily(signature.displayFamily, signature.displayModel)) {}

void AMD_Perf::getSpeedMetrics(const x86_cpu& cpu, std::uint64_t tscHertz, x86_speed_metrics& metrics) const {
    if (!m_family) {
        return;
    }
    const AmdPStates told = readAmdPStates(
        *m_family, [&cpu](std::uint32_t msr, std::uint64_t& value) { return cpu.callRDMSR(msr, value); },
        static_cast<double>(tscHertz) / 1e6, cpu.supportsFeature(x86_feature_CPB));
    metrics.minMultiplier = told.lowest.value_or(0);
    metrics.maxMultiplier = told.base.value_or(0);
    metrics.currentMultiplier = told.current.value_or(0);
    if (told.turbo) {
        metrics.turboRatio = *told.turbo;
    }
    if (metrics.currentMultiplier != 0 || metrics.maxMultiplier != 0 || metrics.minMultiplier != 0) {
        metrics.busClock = m_family->busMHz * std::uint64_t{1000000};
    }
}

} // namespace libQuarrow::cpu
