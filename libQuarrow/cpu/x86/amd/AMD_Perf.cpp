#include <libQuarrow/cpu/x86/amd/AMD_Perf.h>

#include <libQuarrow/cpu/x86/amd/x86_amd_northbridge.h>
#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/machine/bits.h>

namespace libQuarrow::cpu {
namespace {

// Hardware configuration; bit 24 TscFreqSel: the time-stamp counter runs at the rate of the base state, bit 25 CpbDis:
// boost is switched off.
constexpr std::uint32_t msrHwcr = 0xC0010015;
constexpr std::uint32_t msrPStateLimit = 0xC0010061;  // bits 6:4 PstateMaxVal: the last P-state, without boost states
constexpr std::uint32_t msrPStateStatus = 0xC0010063; // bits 2:0 CurPstate, without boost states
constexpr std::uint32_t msrPState0 = 0xC0010064;
constexpr std::uint32_t msrCofVidStatus = 0xC0010071; // families 0x10 to 0x16; bits 54:49 MainPllOpFidMax
constexpr std::uint32_t lastCofVidFamily = 0x16;

// Of the northbridge, D18F3xD4: bit 6 MainPllOpFreqIdEn, 5:0 MainPllOpFreqId. D18F3xDC: bits 10:8 HwPstateMaxVal, the
// last P-state. D18F4x15C: bits 4:2 NumBoostStates, 1:0 BoostSrc, 0 where boost is switched off.
constexpr std::uint8_t miscFunction = 3;
constexpr std::uint8_t linkFunction = 4;
constexpr std::uint32_t clockPowerControl = 0xD4;
constexpr std::uint32_t clockPowerControl2 = 0xDC;
constexpr std::uint32_t boostControl = 0x15C;

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
    return bit(pstate, 63);
}

// In MHz; 0 when not known. Family 0x14 scales its main PLL down. The frequency that it runs at is the northbridge's to
// tell; else the highest that it may run at stands in for it.
double mainPllMHz(std::uint64_t cofVid) {
    const std::uint32_t control = readAmdNorthbridge(miscFunction, clockPowerControl).value_or(0);
    const std::uint32_t highest = bits(cofVid, 54, 49);
    if (bit(control, 6)) {
        return 100.0 * (bits(control, 5, 0) + 16);
    }
    return highest != 0 ? 100.0 * (highest + 16) : 0;
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

AMD_PStateTable AMD_Perf::readStates(const x86_cpu& cpu, double pllMHz) const {
    AMD_PStateTable states;
    for (std::uint32_t i = 0; i < m_family->registers; ++i) {
        std::uint64_t pstate = 0;
        const bool isRead = cpu.callRDMSR(msrPState0 + i, pstate);
        const double ratio = isRead && isEnabled(pstate) ? multiplier(pstate, pllMHz) : 0;
        if (ratio != 0) {
            states.addEnabled(ratio);
        } else if (isRead && !isEnabled(pstate)) {
            states.addDisabled();
        } else {
            states.addUnknown();
        }
    }
    return states;
}

// How many boost states come before the base state stands in the northbridge. Where that cannot be read, the base state
// is the one whose frequency the time-stamp counter has; failing that the first one, of a processor that says that it
// has no boost (leaf 0x80000007 EDX bit 9). From family 0x17 on boost has no P-states of its own.
AMD_Perf::Base AMD_Perf::findBase(const x86_cpu& cpu, const AMD_PStateTable& states, double tscMHz) const {
    if (!m_family->northbridgeTells) {
        return {states.firstEnabled(0), false};
    }
    std::uint64_t hwcr = 0;
    const bool hasHwcr = cpu.callRDMSR(msrHwcr, hwcr);
    const bool boostIsOn = hasHwcr && !bit(hwcr, 25);
    if (const auto control = readAmdNorthbridge(linkFunction, boostControl)) {
        return {states.firstEnabled(bits(*control, 4, 2)), boostIsOn && bits(*control, 1, 0) != 0};
    }
    const bool tscTells = tscMHz != 0 && !(hasHwcr && !bit(hwcr, 24));
    const auto ofTsc = tscTells ? states.at(tscMHz / m_family->busMHz) : boost::none;
    return {ofTsc || cpu.supportsFeature(x86_feature_CPB) ? ofTsc : states.firstEnabled(0), boostIsOn};
}

// The last register that the processor uses; it need not be enabled.
std::size_t AMD_Perf::lastState(const x86_cpu& cpu, const boost::optional<std::size_t>& base) const {
    if (m_family->northbridgeTells) {
        if (const auto control = readAmdNorthbridge(miscFunction, clockPowerControl2)) {
            return bits(*control, 10, 8);
        }
    }
    std::uint64_t limit = 0;
    return base && cpu.callRDMSR(msrPStateLimit, limit) ? *base + bits(limit, 6, 4) : m_family->registers;
}

void AMD_Perf::readPStates(const x86_cpu& cpu, double tscMHz, x86_speed_metrics& metrics) const {
    std::uint64_t cofVid = 0;
    const bool hasCofVid = m_family->family <= lastCofVidFamily && cpu.callRDMSR(msrCofVidStatus, cofVid);
    const double pllMHz = m_family->layout == AmdPStateLayout::PllDid ? mainPllMHz(cofVid) : 0;
    const AMD_PStateTable states = readStates(cpu, pllMHz);
    const Base base = findBase(cpu, states, tscMHz);
    const std::size_t first = base.state.value_or(0);
    metrics.minMultiplier = states.lowest(first, lastState(cpu, base.state)).value_or(0);
    if (base.state) {
        metrics.maxMultiplier = states.multiplier(first).value_or(0);
        const double highest = states.multiplier(states.firstEnabled(0).value_or(first)).value_or(0);
        if (base.boostIsOn && highest > metrics.maxMultiplier) {
            metrics.turboRatio = highest;
        }
    }
    std::uint64_t status = 0;
    if (hasCofVid) {
        metrics.currentMultiplier = multiplier(cofVid, pllMHz);
    } else if (base.state && cpu.callRDMSR(msrPStateStatus, status)) {
        metrics.currentMultiplier = states.multiplier(first + bits(status, 2, 0)).value_or(0);
    }
}

void AMD_Perf::getSpeedMetrics(const x86_cpu& cpu, std::uint64_t tscHertz, x86_speed_metrics& metrics) const {
    if (!m_family) {
        return;
    }
    readPStates(cpu, static_cast<double>(tscHertz) / 1e6, metrics);
    if (metrics.currentMultiplier != 0 || metrics.maxMultiplier != 0 || metrics.minMultiplier != 0) {
        metrics.busClock = m_family->busMHz * std::uint64_t{1000000};
    }
}

} // namespace libQuarrow::cpu
