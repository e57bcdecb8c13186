#include <libQuarrow/topology/speed/SpeedDecoder.h>

#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/topology/decode/LeafReader.h>
#include <libQuarrow/topology/decode/ProcessorDecoder.h>
#include <libQuarrow/topology/speed/AmdSpeed.h>
#include <libQuarrow/topology/speed/IntelSpeed.h>

#include <cmath>

namespace libQuarrow::topology {
namespace {

constexpr std::uint64_t hertzPerMegahertz = 1'000'000;

Maker makerAskedBy(const SpeedSources& sources) {
    return makerOf(LeafReader(sources.cpuid));
}

// What is 0 is not known.
void fillHertz(std::optional<std::uint64_t>& unknown, std::uint64_t hertz) {
    if (!unknown && hertz != 0) {
        unknown = hertz;
    }
}

// What leaves 0x16 and 0x15 tell. On every core of a hybrid their base is that of the performance cores (12900H: 2900
// MHz on both kinds); the highest and the bus clock are the core's own.
void fillFromLeaves(const SpeedSources& sources, ProcessorSpeed& speed) {
    LeafReader leaves(sources.cpuid);
    const auto frequencies = leaves.get<cpu::FrequencyLeaf>();
    fillHertz(speed.busClockHertz, frequencies.busMHz * hertzPerMegahertz);
    if (frequencies.maximumMHz > frequencies.baseMHz && sources.model.identity.features.contains("ida")) {
        fillHertz(speed.turbo.hertz, frequencies.maximumMHz * hertzPerMegahertz);
    }
    if (!isEfficientIntelCore(sources)) {
        fillHertz(speed.base.hertz, frequencies.baseMHz * hertzPerMegahertz);
        fillHertz(speed.base.hertz, leaves.get<cpu::CrystalLeaf>().tscHertz());
    }
}

// Figures that a leaf or a name gives are rounded; multipliers come in halves.
void fillMultiplier(SpeedFigure& figure, std::uint64_t busHertz) {
    if (!figure.multiplier && figure.hertz) {
        const double halves = std::round(static_cast<double>(*figure.hertz) / static_cast<double>(busHertz) * 2);
        if (halves > 0) {
            figure.multiplier = halves / 2;
        }
    }
}

// MPERF counts at the base frequency; where that is not the core's own, it is near the time-stamp counter's rate.
void addEffective(const MeasuredSpeed& measured, ProcessorSpeed& speed) {
    const std::optional<std::uint64_t> counted = speed.base.hertz ? speed.base.hertz : measured.tscHertz;
    constexpr double absurdHertz = 1e12;
    const double hertz = static_cast<double>(counted.value_or(0)) * measured.effectiveRatio.value_or(0);
    if (hertz >= 1 && hertz < absurdHertz) {
        speed.effective.hertz = static_cast<std::uint64_t>(hertz);
    }
}

} // namespace

ProcessorSpeed decodeSpeed(const SpeedSources& sources, const MeasuredSpeed& measured,
                           const os::SystemFrequencies& system) {
    ProcessorSpeed speed;
    speed.tscHertz = measured.tscHertz;
    speed.system = system;
    const Maker maker = makerAskedBy(sources);
    if (maker == Maker::intel) {
        readIntelSpeed(sources, speed);
    } else if (maker == Maker::amd) {
        readAmdSpeed(sources, measured.tscHertz, speed);
    }
    fillFromLeaves(sources, speed);
    fillHertz(speed.base.hertz, system.baseHertz.value_or(0));
    fillHertz(speed.lowest.hertz, system.lowestHertz.value_or(0));
    if (maker == Maker::intel) {
        fillHertz(speed.base.hertz, intelNamedHertz(sources));
    }
    addEffective(measured, speed);
    if (speed.busClockHertz) {
        for (SpeedFigure* const figure : {&speed.current, &speed.lowest, &speed.base, &speed.turbo}) {
            fillMultiplier(*figure, *speed.busClockHertz);
        }
        if (speed.effective.hertz) {
            speed.effective.multiplier =
                static_cast<double>(*speed.effective.hertz) / static_cast<double>(*speed.busClockHertz);
        }
    }
    return speed;
}

ProcessorLimits decodeLimits(const SpeedSources& sources) {
    ProcessorLimits limits;
    const Maker maker = makerAskedBy(sources);
    if (maker == Maker::intel) {
        readIntelLimits(sources, limits);
    } else if (maker == Maker::amd) {
        readAmdLimits(sources, limits);
    }
    return limits;
}

} // namespace libQuarrow::topology
