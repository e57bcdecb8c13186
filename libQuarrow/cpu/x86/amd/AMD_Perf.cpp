#include <libQuarrow/cpu/x86/amd/AMD_Perf.h>

#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <algorithm>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint32_t msrHwcr = 0xC0010015;         // hardware configuration; bit 25 CpbDis: boost is switched off
constexpr std::uint32_t msrPStateLimit = 0xC0010061;  // bits 6:4 PstateMaxVal: the last P-state without boost
constexpr std::uint32_t msrPStateStatus = 0xC0010063; // bits 2:0 CurPstate, without boost states
constexpr std::uint32_t msrPState0 = 0xC0010064;
constexpr std::uint32_t pStateRegisters = 8;
constexpr std::uint32_t msrCofVidStatus = 0xC0010071; // families 0x10 to 0x16; bits 54:49 MainPllOpFidMax
constexpr std::uint32_t lastCofVidFamily = 0x16;

// The frequency in MHz; 0 for an encoding that stands for none.
double coreMHz(AmdPStateLayout layout, std::uint64_t pstate, double pllMHz) {
    const double did = 1u << bits(pstate, 8, 6);
    switch (layout) {
    case AmdPStateLayout::FidPlus16Did:
        return 100.0 * (bits(pstate, 5, 0) + 16) / did;
    case AmdPStateLayout::FidPlus8Did:
        return 100.0 * (bits(pstate, 5, 0) + 8) / did;
    case AmdPStateLayout::FidDivisor: {
        const std::uint32_t divisor = bits(pstate, 3, 0);
        return divisor < rowCount(amdDidDivisors) ? 100.0 * (bits(pstate, 8, 4) + 16) / amdDidDivisors[divisor] : 0;
    }
    case AmdPStateLayout::PllDid:
        return pllMHz / (bits(pstate, 8, 4) + bits(pstate, 3, 0) * 0.25 + 1);
    case AmdPStateLayout::FidDfs: {
        const std::uint32_t eighths = bits(pstate, 13, 8);
        return eighths != 0 ? 200.0 * bits(pstate, 7, 0) / eighths : 0;
    }
    case AmdPStateLayout::Fid5MHz:
        return 5.0 * bits(pstate, 11, 0);
    }
    return 0;
}

bool isEnabled(std::uint64_t pstate) {
    return bits(pstate, 63, 63) != 0;
}

// Whether the first P-states may be boost states: core performance boost is there (leaf 0x80000007 EDX bit 9). From
// family 0x17 on boost has no P-states of its own.
bool mayHaveBoostStates(const x86_cpu& cpu) {
    return cpu.getSignature().displayFamily <= lastCofVidFamily && cpu.supportsFeature(x86_feature_CPB);
}

bool isBoostOff(const x86_cpu& cpu) {
    std::uint64_t hwcr = 0;
    return cpu.callRDMSR(msrHwcr, hwcr) && bits(hwcr, 25, 25) != 0;
}

} // namespace

AMD_Perf::AMD_Perf(const x86_cpu_signature& signature) {
    for (const AmdPStateFamily& row : amdPStateFamilies) {
        if (row.family == signature.displayFamily && signature.displayModel <= row.lastModel) {
            m_family = row;
            return;
        }
    }
}

double AMD_Perf::multiplier(std::uint64_t pstate, double pllMHz) const {
    return coreMHz(m_family->layout, pstate, pllMHz) / m_family->busMHz;
}

// The registers hold the boost states first, which the P-state limit does not count. How many those are stands in PCI
// configuration space, out of reach here; it is the number of enabled states that the limit leaves out.
void AMD_Perf::readPStates(const x86_cpu& cpu, x86_speed_metrics& metrics) const {
    std::uint64_t cofVid = 0;
    const bool hasCofVid = m_family->family <= lastCofVidFamily && cpu.callRDMSR(msrCofVidStatus, cofVid);
    // Family 0x14 scales its main PLL down. The frequency that the PLL runs at is in PCI configuration space too; the
    // highest that it may run at stands in for it.
    const double pllMHz = hasCofVid && bits(cofVid, 54, 49) != 0 ? 100.0 * (bits(cofVid, 54, 49) + 16) : 0;

    double states[pStateRegisters] = {};
    std::uint32_t count = 0;
    std::uint64_t pstate = 0;
    while (count < pStateRegisters && cpu.callRDMSR(msrPState0 + count, pstate) && isEnabled(pstate)) {
        states[count] = multiplier(pstate, pllMHz);
        ++count;
    }
    std::uint64_t limit = 0;
    std::uint32_t boostStates = 0;
    if (count != 0 && mayHaveBoostStates(cpu) && cpu.callRDMSR(msrPStateLimit, limit)) {
        boostStates = count - 1 - std::min(count - 1, bits(limit, 6, 4));
    }
    if (count != 0) {
        metrics.maxMultiplier = states[boostStates];
        metrics.minMultiplier = *std::min_element(states, states + count);
    }
    if (boostStates != 0 && states[0] != 0 && !isBoostOff(cpu)) {
        metrics.turboRatio = states[0];
    }
    std::uint64_t status = 0;
    if (hasCofVid) {
        metrics.currentMultiplier = multiplier(cofVid, pllMHz);
    } else if (cpu.callRDMSR(msrPStateStatus, status)) {
        const std::uint32_t current = boostStates + bits(status, 2, 0);
        metrics.currentMultiplier = current < count ? states[current] : 0;
    }
}

void AMD_Perf::getSpeedMetrics(const x86_cpu& cpu, x86_speed_metrics& metrics) const {
    if (!m_family) {
        return;
    }
    readPStates(cpu, metrics);
    if (metrics.currentMultiplier != 0 || metrics.maxMultiplier != 0) {
        metrics.busClock = m_family->busMHz * std::uint64_t{1000000};
    }
}

} // namespace libQuarrow::cpu
