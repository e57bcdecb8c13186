#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>

#include <libQuarrow/cpu/x86/speed/x86_tsc_measurement.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/machine/Machine.h>

#include <cmath>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint64_t hertzPerMHz = 1000000;

// CPUID leaf 6, thermal and power management.
constexpr std::uint32_t powerLeaf = 6;
constexpr std::uint32_t powerEaxTurbo = 1u << 1;      // turbo is there and enabled (Intel)
constexpr std::uint32_t powerEcxAperfMperf = 1u << 0; // the two counters are there (Intel and AMD)

// MPERF counts at the highest frequency without turbo, APERF at the real one, both while the processor is not halted.
// AMD's have copies that can only be read, which some drivers let through alone (AMD APM volume 2, effective frequency;
// CPUID leaf 0x80000007 EDX bit 10, EffFreqRO).
struct FrequencyCounters {
    std::uint32_t mperf, aperf;
};
constexpr FrequencyCounters frequencyCounters = {0xE7, 0xE8};
constexpr FrequencyCounters readOnlyFrequencyCounters = {0xC00000E7, 0xC00000E8};
constexpr std::uint32_t advancedPowerLeaf = 0x80000007;
constexpr std::uint32_t advancedPowerEdxReadOnlyCounters = 1u << 10;

boost::optional<std::uint64_t> megahertz(std::uint32_t register16) {
    const std::uint64_t mhz = register16 & 0xFFFF;
    return mhz == 0 ? boost::optional<std::uint64_t>() : mhz * hertzPerMHz;
}

template <class T>
void fill(boost::optional<T>& unknown, const boost::optional<T>& value) {
    if (!unknown) {
        unknown = value;
    }
}

// CPUID leaf 0x16, processor frequencies in MHz: EAX base, EBX maximum, ECX bus (Intel's manual, volume 2, CPUID).
void addFrequencyLeaf(const x86_cpu& cpu, x86_speed_metrics& metrics) {
    std::uint32_t base = 0;
    std::uint32_t maximum = 0;
    std::uint32_t bus = 0;
    if (!cpu.callCPUID(0x16, &base, &maximum, &bus, nullptr)) {
        return;
    }
    fill(metrics.busClock, megahertz(bus));
    fill(metrics.highestSpeed, megahertz(base));
    std::uint32_t power = 0;
    cpu.callCPUID(powerLeaf, &power, nullptr, nullptr, nullptr);
    if ((power & powerEaxTurbo) != 0 && (maximum & 0xFFFF) > (base & 0xFFFF)) {
        fill(metrics.turboSpeed, megahertz(maximum));
    }
}

// CPUID leaf 0x15: the time-stamp counter runs at ECX (the crystal, in Hz) times EBX / EAX, which is the highest
// frequency without turbo.
void addCrystalLeaf(const x86_cpu& cpu, x86_speed_metrics& metrics) {
    std::uint32_t denominator = 0;
    std::uint32_t numerator = 0;
    std::uint32_t crystal = 0;
    if (cpu.callCPUID(0x15, &denominator, &numerator, &crystal, nullptr) && denominator != 0 && numerator != 0 &&
        crystal != 0) {
        fill(metrics.highestSpeed, boost::make_optional(std::uint64_t{crystal} * numerator / denominator));
    }
}

boost::optional<std::uint64_t> speedOf(double multiplier, std::uint64_t busClock) {
    return static_cast<std::uint64_t>(std::llround(multiplier * static_cast<double>(busClock)));
}

// Figures that a name or a leaf gives are rounded; multipliers come in halves.
double multiplierOf(std::uint64_t speed, std::uint64_t busClock) {
    return std::round(static_cast<double>(speed) / static_cast<double>(busClock) * 2) / 2;
}

void addSpeedsOfMultipliers(x86_speed_metrics& metrics) {
    if (!metrics.busClock) {
        return;
    }
    if (metrics.currentMultiplier != 0) {
        metrics.currentSpeed = speedOf(metrics.currentMultiplier, *metrics.busClock);
    }
    if (metrics.minMultiplier != 0) {
        metrics.lowestSpeed = speedOf(metrics.minMultiplier, *metrics.busClock);
    }
    if (metrics.maxMultiplier != 0) {
        metrics.highestSpeed = speedOf(metrics.maxMultiplier, *metrics.busClock);
    }
    if (metrics.turboRatio) {
        metrics.turboSpeed = speedOf(*metrics.turboRatio, *metrics.busClock);
    }
}

void addMultipliersOfSpeeds(x86_speed_metrics& metrics) {
    if (!metrics.busClock || *metrics.busClock == 0) {
        return;
    }
    if (metrics.maxMultiplier == 0 && metrics.highestSpeed) {
        metrics.maxMultiplier = multiplierOf(*metrics.highestSpeed, *metrics.busClock);
    }
    if (!metrics.turboRatio && metrics.turboSpeed) {
        metrics.turboRatio = multiplierOf(*metrics.turboSpeed, *metrics.busClock);
    }
    if (metrics.effectiveSpeed) {
        metrics.effectiveMultiplier =
            static_cast<double>(*metrics.effectiveSpeed) / static_cast<double>(*metrics.busClock);
    }
}

struct Counts {
    std::uint64_t mperf = 0, aperf = 0;
};

bool readCounts(const x86_cpu& cpu, const FrequencyCounters& counters, Counts& counts) {
    return cpu.callRDMSR(counters.mperf, counts.mperf) && cpu.callRDMSR(counters.aperf, counts.aperf);
}

// Those counters that can be read, with their first counts.
boost::optional<FrequencyCounters> firstCounts(const x86_cpu& cpu, Counts& counts) {
    if (readCounts(cpu, frequencyCounters, counts)) {
        return frequencyCounters;
    }
    std::uint32_t power = 0;
    const bool hasCopies = cpu.callCPUID(advancedPowerLeaf, nullptr, nullptr, nullptr, &power) &&
                           (power & advancedPowerEdxReadOnlyCounters) != 0;
    return boost::make_optional(hasCopies && readCounts(cpu, readOnlyFrequencyCounters, counts),
                                readOnlyFrequencyCounters);
}

void addEffectiveSpeed(const x86_cpu& cpu, x86_speed_metrics& metrics) {
    os::Clock& clock = os::currentMachine().clock();
    std::uint32_t power = 0;
    if (!metrics.highestSpeed || !cpu.callCPUID(powerLeaf, nullptr, nullptr, &power, nullptr) ||
        (power & powerEcxAperfMperf) == 0) {
        return;
    }
    Counts first, last;
    const boost::optional<FrequencyCounters> counters = firstCounts(cpu, first);
    std::uint64_t frequency = 0;
    std::uint64_t start = 0;
    if (!counters || !clock.frequency(frequency) || !clock.counter(start) ||
        !spinUntil(clock, start + measuringInterval(frequency)) || !readCounts(cpu, *counters, last)) {
        return;
    }
    // Anybody may write the counters in between, and a recording's stand still.
    if (last.mperf <= first.mperf || last.aperf <= first.aperf) {
        return;
    }
    const double hertz = static_cast<double>(*metrics.highestSpeed) * static_cast<double>(last.aperf - first.aperf) /
                         static_cast<double>(last.mperf - first.mperf);
    constexpr double absurd = 1e12;
    if (hertz < absurd) {
        metrics.effectiveSpeed = static_cast<std::uint64_t>(hertz);
    }
}

} // namespace

bool completeSpeedMetrics(const x86_cpu& cpu, std::uint32_t designedMHz, x86_speed_metrics& metrics) {
    addFrequencyLeaf(cpu, metrics);
    addSpeedsOfMultipliers(metrics); // what registers told counts for more than what the leaf did
    addCrystalLeaf(cpu, metrics);
    if (designedMHz != 0) {
        fill(metrics.highestSpeed, boost::make_optional(designedMHz * hertzPerMHz));
    }
    addEffectiveSpeed(cpu, metrics);
    addMultipliersOfSpeeds(metrics);
    return metrics.busClock || metrics.currentSpeed || metrics.highestSpeed || metrics.turboSpeed ||
           metrics.turboRatio || metrics.currentMultiplier != 0 || metrics.minMultiplier != 0 ||
           metrics.maxMultiplier != 0;
}

} // namespace libQuarrow::cpu
