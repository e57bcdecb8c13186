// How fast an Intel processor runs: bus clock and multipliers. Registers are those of Intel's manual, volume 4 (the
// tables of model-specific registers, one for each generation).

#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <libQuarrow/cpu/x86/intel/x86_intel_bus_clocks.h>
#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint32_t msrEbcFrequencyId = 0x2C; // Pentium 4: bus clock and the multiplier that it was started with
constexpr std::uint32_t msrFsbFreq = 0xCD;        // Core to Airmont: bus clock
constexpr std::uint32_t msrPlatformInfo = 0xCE;   // Nehalem and later, Silvermont: highest and lowest multiplier
constexpr std::uint32_t msrPerfStatus = 0x198;    // IA32_PERF_STATUS: what the processor is set to

constexpr std::uint64_t nehalemBusClock = 133333333; // "133.33 MHz"
constexpr std::uint64_t laterBusClock = 100000000;

// Newer processors than the product classes know have MSR_PLATFORM_INFO where they have this CPUID leaf.
constexpr std::uint32_t crystalLeaf = 0x15;

template <std::size_t count>
boost::optional<std::uint64_t> busClockOf(std::uint32_t code, const IntelBusClock (&clocks)[count]) {
    for (const IntelBusClock& row : clocks) {
        if (row.code == code) {
            return std::uint64_t{row.hertz};
        }
    }
    return boost::none;
}

// The multiplier that half of the Core and Core 2 MSR_PERF_STATUS encodes: bits 12 to 8, and half a step more with bit
// 14. The manual describes the upper half (bits 44 to 40 and 46: the highest one); the lower half is laid out alike.
double coreMultiplier(std::uint32_t half) {
    return bits(half, 12, 8) + (bits(half, 14, 14) != 0 ? 0.5 : 0.0);
}

} // namespace

// MSR_EBC_FREQUENCY_ID. Models 0 and 1 have only their bus clock in it, in bits 23 to 21.
void x86_intel_info::getPentium4Speed(x86_speed_metrics& metrics) const {
    std::uint64_t id = 0;
    if (!m_cpu->callRDMSR(msrEbcFrequencyId, id)) {
        return;
    }
    if (m_signature.displayModel < 2) {
        if (bits(id, 23, 21) == 0) {
            metrics.busClock = laterBusClock;
        }
        return;
    }
    const std::uint32_t code = bits(id, 18, 16);
    metrics.busClock = m_signature.displayModel == 2 ? busClockOf(code, intelPentium4Model2BusClocks)
                                                     : busClockOf(code, intelPentium4BusClocks);
    metrics.maxMultiplier = bits(id, 31, 24);
    metrics.currentMultiplier = metrics.maxMultiplier;
    std::uint64_t status = 0;
    if (m_cpu->supportsFeature(x86_feature_EST) && m_cpu->callRDMSR(msrPerfStatus, status) &&
        bits(status, 15, 8) != 0) {
        metrics.currentMultiplier = bits(status, 15, 8);
    }
}

// Core, Core 2 and the first Atoms. The highest multiplier is the configured one; with Intel Dynamic Acceleration that
// is one step above what the processor is sold with. No register of theirs is documented to hold the lowest one.
void x86_intel_info::getFrontSideBusSpeed(x86_speed_metrics& metrics) const {
    std::uint64_t value = 0;
    if (m_cpu->callRDMSR(msrFsbFreq, value)) {
        const std::uint32_t code = bits(value, 2, 0);
        metrics.busClock = isType(CoreDuoSoloFamily | Core2Family) ? busClockOf(code, intelCoreBusClocks)
                                                                   : busClockOf(code, intelAtomBusClocks);
    }
    if (m_cpu->callRDMSR(msrPerfStatus, value)) {
        metrics.currentMultiplier = coreMultiplier(bits(value, 31, 0));
        metrics.maxMultiplier = coreMultiplier(bits(value, 63, 32));
    }
    // MSR_PLATFORM_ID (0x17) bits 12 to 8: the highest multiplier that the part is qualified for.
    if (metrics.maxMultiplier == 0 && getPlatformId(value, false)) {
        metrics.maxMultiplier = bits(value, 12, 8);
    }
}

void x86_intel_info::getSilvermontSpeed(x86_speed_metrics& metrics) const {
    std::uint64_t value = 0;
    if (m_cpu->callRDMSR(msrFsbFreq, value)) {
        metrics.busClock = busClockOf(bits(value, 3, 0), intelSilvermontBusClocks);
    }
    if (m_cpu->callRDMSR(msrPlatformInfo, value)) {
        metrics.maxMultiplier = bits(value, 15, 8);
    }
    if (m_cpu->callRDMSR(msrPerfStatus, value)) {
        metrics.currentMultiplier = bits(value, 15, 8);
    }
}

// MSR_PLATFORM_INFO: bits 15 to 8 are the highest multiplier without turbo, bits 47 to 40 the lowest ("maximum
// efficiency"). The current one is the whole low byte of IA32_PERF_STATUS up to Westmere, the next byte after.
void x86_intel_info::getPlatformInfoSpeed(x86_speed_metrics& metrics) const {
    const bool nehalem = isType(NehalemFamily);
    metrics.busClock = nehalem ? nehalemBusClock : laterBusClock;
    std::uint64_t value = 0;
    if (m_cpu->callRDMSR(msrPlatformInfo, value)) {
        metrics.maxMultiplier = bits(value, 15, 8);
        metrics.minMultiplier = bits(value, 47, 40);
    }
    if (m_cpu->callRDMSR(msrPerfStatus, value)) {
        metrics.currentMultiplier = nehalem ? bits(value, 7, 0) : bits(value, 15, 8);
    }
    std::uint32_t ratio = 0;
    std::uint64_t speed = 0;
    if (getMaxTurboRatioAndSpeed(*metrics.busClock, ratio, speed)) {
        metrics.turboRatio = ratio;
    }
}

bool x86_intel_info::getSpeedMetrics(x86_speed_metrics& metrics) const {
    constexpr std::uint32_t platformInfoTypes =
        NehalemFamily | SandyBridgeFamily | IvyBridgeFamily | HaswellFamily | BroadwellFamily | Skylake | KabyLake;
    const x86_pin pin(*m_cpu);
    x86_speed_metrics found;
    found.multiplierPrecision = x86_speed_metrics::trimmedPrecision;
    if (isType(Pentium4Family)) {
        getPentium4Speed(found);
    } else if (isType(CoreDuoSoloFamily | Core2Family | Atom | CloverTrail)) {
        getFrontSideBusSpeed(found);
    } else if (isType(Silvermont | Braswell)) {
        getSilvermontSpeed(found);
    } else if (isType(platformInfoTypes) || m_cpu->maxCPUID() >= crystalLeaf) {
        getPlatformInfoSpeed(found);
    }
    if (!completeSpeedMetrics(*m_cpu, m_designedFrequency, found)) {
        return false;
    }
    metrics = found;
    return true;
}

} // namespace libQuarrow::cpu
