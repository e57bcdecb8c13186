#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>

#include <libQuarrow/cpu/x86/decode/GuardedCpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/speed/x86_tsc_measurement.h>
#include <libQuarrow/machine/Machine.h>

#include <cmath>

namespace libQuarrow::cpu {
namespace {

constexpr double hertzPerMHz = 1000000;

// MPERF counts at the highest frequency without turbo, APERF at the real one, both while the processor is not halted.
// AMD's have copies that can only be read, which some drivers let through alone (AMD APM volume 2, effective
// frequency).
struct FrequencyCounters {
    std::uint32_t mperf, aperf;
};
constexpr FrequencyCounters frequencyCounters = {0xE7, 0xE8};
constexpr FrequencyCounters readOnlyFrequencyCounters = {0xC00000E7, 0xC00000E8};

template <class T>
void fill(boost::optional<T>& unknown, const boost::optional<T>& value) {
    if (!unknown) {
        unknown = value;
    }
}

// What is 0 is not known.
void fillSpeed(boost::optional<std::uint64_t>& unknown, std::uint64_t hertz) {
    fill(unknown, boost::make_optional(hertz != 0, hertz));
}

void fillSpeedsOfMultipliers(double busMHz, x86_speed_metrics& metrics) {
    fillSpeed(metrics.currentSpeed, hertzOf(metrics.currentMultiplier * busMHz));
    fillSpeed(metrics.lowestSpeed, hertzOf(metrics.minMultiplier * busMHz));
    fillSpeed(metrics.highestSpeed, hertzOf(metrics.maxMultiplier * busMHz));
    fillSpeed(metrics.turboSpeed, hertzOf(metrics.turboRatio.value_or(0) * busMHz));
}

// What CPUID leaves 0x16 and 0x15 tell. What registers told counts for more.
void addSpeedsOfLeaves(CpuidReader& cpuid, x86_speed_metrics& metrics) {
    cpuid_args registers;
    if (cpuid.ask(FrequencyLeaf::number, 0, registers)) {
        const FrequencyLeaf leaf(registers);
        fillSpeed(metrics.busClock, hertzOf(leaf.busMHz));
        if (metrics.busClock) {
            fillSpeedsOfMultipliers(static_cast<double>(*metrics.busClock) / hertzPerMHz, metrics);
        }
        fillSpeed(metrics.highestSpeed, hertzOf(leaf.baseMHz));
        cpuid_args power;
        if (leaf.maximumMHz > leaf.baseMHz && cpuid.ask(PowerLeaf::number, 0, power) && PowerLeaf(power).turbo) {
            fillSpeed(metrics.turboSpeed, hertzOf(leaf.maximumMHz));
        }
    }
    // The counter runs at the highest frequency without turbo.
    if (cpuid.ask(CrystalLeaf::number, 0, registers)) {
        fillSpeed(metrics.highestSpeed, CrystalLeaf(registers).tscHertz());
    }
}

// Figures that a name or a leaf gives are rounded; multipliers come in halves.
double multiplierOf(std::uint64_t speed, std::uint64_t busClock) {
    return std::round(static_cast<double>(speed) / static_cast<double>(busClock) * 2) / 2;
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

bool readCounts(const MsrReader& readMsr, const FrequencyCounters& counters, Counts& counts) {
    return readMsr(counters.mperf, counts.mperf) && readMsr(counters.aperf, counts.aperf);
}

// Those counters that can be read, with their first counts.
boost::optional<FrequencyCounters> firstCounts(CpuidReader& cpuid, const MsrReader& readMsr, Counts& counts) {
    if (readCounts(readMsr, frequencyCounters, counts)) {
        return frequencyCounters;
    }
    cpuid_args power;
    const bool hasCopies =
        cpuid.ask(AdvancedPowerLeaf::number, 0, power) && AdvancedPowerLeaf(power).readOnlyAperfMperf;
    return boost::make_optional(hasCopies && readCounts(readMsr, readOnlyFrequencyCounters, counts),
                                readOnlyFrequencyCounters);
}

void addEffectiveSpeed(CpuidReader& cpuid, const MsrReader& readMsr, x86_speed_metrics& metrics) {
    os::Clock& clock = os::currentMachine().clock();
    cpuid_args power;
    if (!metrics.highestSpeed || !cpuid.ask(PowerLeaf::number, 0, power) || !PowerLeaf(power).aperfMperf) {
        return;
    }
    Counts first, last;
    const boost::optional<FrequencyCounters> counters = firstCounts(cpuid, readMsr, first);
    std::uint64_t frequency = 0;
    std::uint64_t start = 0;
    if (!counters || !clock.frequency(frequency) || !clock.counter(start) ||
        !spinUntil(clock, start + measuringInterval(frequency)) || !readCounts(readMsr, *counters, last)) {
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

std::uint64_t hertzOf(double megahertz) {
    return static_cast<std::uint64_t>(std::llround(megahertz * hertzPerMHz));
}

void setBusClock(double megahertz, x86_speed_metrics& metrics) {
    fillSpeed(metrics.busClock, hertzOf(megahertz));
    fillSpeedsOfMultipliers(megahertz, metrics);
}

bool completeSpeedMetrics(CpuidReader& cpuid, const MsrReader& readMsr, std::uint32_t designedMHz,
                          x86_speed_metrics& metrics) {
    if (metrics.busClock) {
        fillSpeedsOfMultipliers(static_cast<double>(*metrics.busClock) / hertzPerMHz, metrics);
    }
    addSpeedsOfLeaves(cpuid, metrics);
    fillSpeed(metrics.highestSpeed, hertzOf(designedMHz));
    addEffectiveSpeed(cpuid, readMsr, metrics);
    addMultipliersOfSpeeds(metrics);
    return metrics.busClock || metrics.currentSpeed || metrics.highestSpeed || metrics.turboSpeed ||
           metrics.turboRatio || metrics.currentMultiplier != 0 || metrics.minMultiplier != 0 ||
           metrics.maxMultiplier != 0;
}

bool completeSpeedMetrics(const x86_cpu& cpu, std::uint32_t designedMHz, x86_speed_metrics& metrics) {
    GuardedCpuidReader guarded(cpu);
    RememberingCpuidReader cpuid(guarded);
    return completeSpeedMetrics(cpuid, guardedMsrReader(cpu), designedMHz, metrics);
}

} // namespace libQuarrow::cpu
