#include <libQuarrow/topology/speed/AmdSpeed.h>

#include <libQuarrow/cpu/x86/amd/AmdPStates.h>
#include <libQuarrow/machine/bits.h>

#include <cmath>

namespace libQuarrow::topology {
namespace {

using cpu::bits;

constexpr std::uint32_t msrCppcCapability = 0xC00102B0;
constexpr std::uint32_t hygonFamily = 0x18; // a family 17h of another maker

SpeedFigure figureOf(const boost::optional<double>& multiplier, std::uint32_t busMHz) {
    SpeedFigure figure;
    if (multiplier && *multiplier > 0) {
        figure.multiplier = *multiplier;
        figure.hertz = static_cast<std::uint64_t>(std::llround(*multiplier * busMHz * 1e6));
    }
    return figure;
}

void tellBusClock(std::uint32_t busMHz, ProcessorSpeed& speed) {
    speed.busClockHertz = busMHz * std::uint64_t{1'000'000};
}

// Family Fh.
void readFidVid(const SpeedSources& sources, ProcessorSpeed& speed) {
    std::uint64_t status = 0;
    if (sources.readMsr(cpu::AmdFidVid::msr, status)) {
        speed.current = figureOf(cpu::AmdFidVid(status).current(), cpu::AmdFidVid::busMHz);
        speed.base = figureOf(cpu::AmdFidVid(status).base(), cpu::AmdFidVid::busMHz);
        tellBusClock(cpu::AmdFidVid::busMHz, speed);
    }
}

void readPStates(const cpu::AmdPStateFamily& family, const SpeedSources& sources,
                 const std::optional<std::uint64_t>& tscHertz, ProcessorSpeed& speed) {
    const cpu::AmdPStates told =
        cpu::readAmdPStates(family, sources.readMsr, static_cast<double>(tscHertz.value_or(0)) / 1e6,
                            sources.model.identity.features.contains("cpb"));
    for (const cpu::AmdPStates::State& state : told.enabled) {
        speed.performanceStates.push_back({state.number, *figureOf(state.multiplier, family.busMHz).hertz});
    }
    speed.lowest = figureOf(told.lowest, family.busMHz);
    speed.current = figureOf(told.current, family.busMHz);
    speed.base = figureOf(told.base, family.busMHz);
    if (told.turbo) {
        speed.turbo = figureOf(told.turbo, family.busMHz);
    }
    if (speed.current.hertz || speed.base.hertz || speed.lowest.hertz) {
        tellBusClock(family.busMHz, speed);
    }
}

} // namespace

void readAmdSpeed(const SpeedSources& sources, const std::optional<std::uint64_t>& tscHertz, ProcessorSpeed& speed) {
    const ProcessorIdentity& identity = sources.model.identity;
    if (identity.family == 0xF) {
        readFidVid(sources, speed);
        return;
    }
    const std::uint32_t family = identity.family == hygonFamily ? 0x17 : identity.family;
    if (const auto row = cpu::amdPStateFamily(family, identity.model)) {
        readPStates(*row, sources, tscHertz, speed);
    }
}

// Collaborative processor performance control, where it is reached by MSRs. Zeros before the firmware or the operating
// system has switched it on.
void readAmdLimits(const SpeedSources& sources, ProcessorLimits& limits) {
    std::uint64_t levels = 0;
    if (sources.model.identity.features.contains("cppc") && sources.readMsr(msrCppcCapability, levels) && levels != 0) {
        limits.levels = {bits(levels, 31, 24), bits(levels, 23, 16), bits(levels, 15, 8), bits(levels, 7, 0)};
    }
}

} // namespace libQuarrow::topology
