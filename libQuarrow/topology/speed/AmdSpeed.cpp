#include <libQuarrow/topology/speed/AmdSpeed.h>

#include <libQuarrow/cpu/x86/amd/AMD_PStateTable.h>
#include <libQuarrow/cpu/x86/amd/x86_amd_northbridge.h>
#include <libQuarrow/cpu/x86/amd/x86_amd_pstates.h>
#include <libQuarrow/machine/bits.h>

#include <cmath>

namespace libQuarrow::topology {
namespace {

using cpu::AmdPStateFamily;
using cpu::AmdPStateLayout;
using cpu::bit;
using cpu::bits;

constexpr std::uint32_t msrFidVidStatus = 0xC0010042; // family Fh: bits 5:0 the FID now, 13:8 at start, 21:16 highest
constexpr std::uint32_t msrHardware = 0xC0010015;     // HWCR: 24 the TSC runs at base, 25 boost is switched off
constexpr std::uint32_t msrPStateLimit = 0xC0010061;  // bits 6:4 PstateMaxVal: the last P-state, boost not counted
constexpr std::uint32_t msrPStateStatus = 0xC0010063; // bits 2:0 CurPstate, boost not counted
constexpr std::uint32_t msrPState0 = 0xC0010064;      // bit 63: enabled
constexpr std::uint32_t msrCofVidStatus = 0xC0010071; // up to family 16h: the state now; bits 54:49 MainPllOpFidMax
constexpr std::uint32_t msrCppcCapability = 0xC00102B0;
constexpr std::uint32_t lastCofVidFamily = 0x16;
constexpr std::uint32_t hygonFamily = 0x18; // a family 17h of another maker

// The northbridge, as cpu::readAmdNorthbridge takes it: D18F3xD4 bit 6 MainPllOpFreqIdEn and 5:0 MainPllOpFreqId,
// D18F3xDC bits 10:8 HwPstateMaxVal, D18F4x15C bits 4:2 NumBoostStates and 1:0 BoostSrc (0: switched off).
constexpr std::uint8_t miscFunction = 3;
constexpr std::uint8_t linkFunction = 4;
constexpr std::uint32_t clockPowerControl = 0xD4;
constexpr std::uint32_t clockPowerControl2 = 0xDC;
constexpr std::uint32_t boostControl = 0x15C;

// In MHz; 0 for an encoding that stands for no frequency.
double megahertzOfState(AmdPStateLayout layout, std::uint64_t state, double pllMHz) {
    const double twoToDid = 1u << bits(state, 8, 6);
    const std::uint32_t low = bits(state, 3, 0);
    const std::uint32_t eighths = bits(state, 13, 8);
    switch (layout) {
    case AmdPStateLayout::FidPlus16Did:
        return 100.0 * (bits(state, 5, 0) + 16) / twoToDid;
    case AmdPStateLayout::FidPlus8Did:
        return 100.0 * (bits(state, 5, 0) + 8) / twoToDid;
    case AmdPStateLayout::FidDivisor:
        return low < cpu::rowCount(cpu::amdDidDivisors) ? 100.0 * (bits(state, 8, 4) + 16) / cpu::amdDidDivisors[low]
                                                        : 0;
    case AmdPStateLayout::PllDid:
        return pllMHz / (bits(state, 8, 4) + low * 0.25 + 1);
    case AmdPStateLayout::FidDfs:
        return eighths != 0 ? 200.0 * bits(state, 7, 0) / eighths : 0;
    case AmdPStateLayout::Fid5MHz:
        return 5.0 * bits(state, 11, 0);
    }
    return 0;
}

std::optional<AmdPStateFamily> familyOf(const ProcessorIdentity& identity) {
    const std::uint32_t family = identity.family == hygonFamily ? 0x17 : identity.family;
    for (const AmdPStateFamily& row : cpu::amdPStateFamilies) {
        if (row.family == family && identity.model <= row.lastModel) {
            return row;
        }
    }
    return std::nullopt;
}

// What family 14h divides, in MHz: the frequency that its main PLL runs at, else the highest that it may run at.
double mainPllMHz(std::uint64_t cofVid) {
    const std::uint32_t control = cpu::readAmdNorthbridge(miscFunction, clockPowerControl).value_or(0);
    const std::uint32_t highest = bits(cofVid, 54, 49);
    if (bit(control, 6)) {
        return 100.0 * (bits(control, 5, 0) + 16);
    }
    return highest != 0 ? 100.0 * (highest + 16) : 0;
}

SpeedFigure figureOfMultiplier(const boost::optional<double>& multiplier, double busMHz) {
    SpeedFigure figure;
    if (multiplier && *multiplier > 0) {
        figure.multiplier = *multiplier;
        figure.hertz = static_cast<std::uint64_t>(std::llround(*multiplier * busMHz * 1e6));
    }
    return figure;
}

// The P-states of one processor, of a family that has registers for them.
class PStates {
  public:
    PStates(const AmdPStateFamily& family, const SpeedSources& sources, const std::optional<std::uint64_t>& tscHertz)
        : m_family(family), m_sources(sources), m_readMsr(sources.readMsr) {
        m_hasCofVid = family.family <= lastCofVidFamily && m_readMsr(msrCofVidStatus, m_cofVid);
        m_pllMHz = family.layout == AmdPStateLayout::PllDid ? mainPllMHz(m_cofVid) : 0;
        readStates();
        findBase(static_cast<double>(tscHertz.value_or(0)) / 1e6);
    }

    void tell(ProcessorSpeed& speed) {
        const std::size_t first = m_base.value_or(0);
        speed.performanceStates = std::move(m_enabled);
        speed.lowest = figure(m_states.lowest(first, lastState()));
        std::uint64_t status = 0;
        if (m_hasCofVid) {
            speed.current = figure(multiplierOf(m_cofVid));
        } else if (m_base && m_readMsr(msrPStateStatus, status)) {
            speed.current = figure(m_states.multiplier(first + bits(status, 2, 0)));
        }
        if (m_base) {
            speed.base = figure(m_states.multiplier(first));
            const SpeedFigure highest = figure(m_states.multiplier(m_states.firstEnabled(0).value_or(first)));
            if (m_boostIsOn && highest.hertz.value_or(0) > speed.base.hertz.value_or(0)) {
                speed.turbo = highest;
            }
        }
        if (speed.current.hertz || speed.base.hertz || speed.lowest.hertz) {
            speed.busClockHertz = m_family.busMHz * std::uint64_t{1'000'000};
        }
    }

  private:
    double multiplierOf(std::uint64_t state) const {
        return megahertzOfState(m_family.layout, state, m_pllMHz) / m_family.busMHz;
    }
    SpeedFigure figure(const boost::optional<double>& multiplier) const {
        return figureOfMultiplier(multiplier, m_family.busMHz);
    }

    void readStates() {
        for (std::uint32_t i = 0; i < m_family.registers; ++i) {
            std::uint64_t state = 0;
            if (!m_readMsr(msrPState0 + i, state)) {
                m_states.addUnknown();
            } else if (!bit(state, 63)) {
                m_states.addDisabled();
            } else if (const SpeedFigure told = figure(multiplierOf(state)); told.hertz) {
                m_states.addEnabled(*told.multiplier);
                m_enabled.push_back({i, *told.hertz});
            } else {
                m_states.addUnknown();
            }
        }
    }

    // The state that the processor is sold with. From family 17h on it is the first, and boost has no states of its
    // own. Before, the northbridge says how many boost states there are; where it cannot be read, the base state is the
    // one at the time-stamp counter's rate, or the first of a processor that says that it has no boost.
    void findBase(double tscMHz) {
        if (!m_family.northbridgeTells) {
            m_base = m_states.firstEnabled(0);
            return;
        }
        std::uint64_t hardware = 0;
        const bool hasHardware = m_readMsr(msrHardware, hardware);
        m_boostIsOn = hasHardware && !bit(hardware, 25);
        if (const auto control = cpu::readAmdNorthbridge(linkFunction, boostControl)) {
            m_base = m_states.firstEnabled(bits(*control, 4, 2));
            m_boostIsOn = m_boostIsOn && bits(*control, 1, 0) != 0;
            return;
        }
        const bool tscTells = tscMHz != 0 && !(hasHardware && !bit(hardware, 24));
        if (tscTells) {
            m_base = m_states.at(tscMHz / m_family.busMHz);
        }
        if (!m_base && !m_sources.model.identity.features.contains("cpb")) {
            m_base = m_states.firstEnabled(0);
        }
    }

    // The last register that the processor uses; it need not be enabled.
    std::size_t lastState() const {
        if (m_family.northbridgeTells) {
            if (const auto control = cpu::readAmdNorthbridge(miscFunction, clockPowerControl2)) {
                return bits(*control, 10, 8);
            }
        }
        std::uint64_t limit = 0;
        return m_base && m_readMsr(msrPStateLimit, limit) ? *m_base + bits(limit, 6, 4) : m_family.registers;
    }

    const AmdPStateFamily& m_family;
    const SpeedSources& m_sources;
    const cpu::MsrReader& m_readMsr;
    std::uint64_t m_cofVid = 0;
    bool m_hasCofVid = false;
    double m_pllMHz = 0;
    cpu::AMD_PStateTable m_states;
    std::vector<PerformanceState> m_enabled;
    boost::optional<std::size_t> m_base;
    bool m_boostIsOn = false;
};

// Family Fh. A FID stands for 800 MHz and 100 more for each; multipliers are of 200. The highest FID of a part without
// a limit is all of the code (2Ah), and what it is sold with then what it starts with.
void readFidVid(const SpeedSources& sources, ProcessorSpeed& speed) {
    constexpr std::uint32_t unlimited = 0x2A;
    constexpr double busMHz = 200;
    std::uint64_t status = 0;
    if (!sources.readMsr(msrFidVidStatus, status)) {
        return;
    }
    const auto figure = [](std::uint32_t fid) { return figureOfMultiplier((800.0 + 100.0 * fid) / busMHz, busMHz); };
    const std::uint32_t highest = bits(status, 21, 16);
    speed.current = figure(bits(status, 5, 0));
    speed.base = figure(highest != unlimited ? highest : bits(status, 13, 8));
    speed.busClockHertz = std::uint64_t{200'000'000};
}

} // namespace

void readAmdSpeed(const SpeedSources& sources, const std::optional<std::uint64_t>& tscHertz, ProcessorSpeed& speed) {
    if (sources.model.identity.family == 0xF) {
        readFidVid(sources, speed);
    } else if (const auto family = familyOf(sources.model.identity)) {
        PStates(*family, sources, tscHertz).tell(speed);
    }
}

// Collaborative processor performance control: leaf 0x80000008 EBX bit 27 says that it is reached by MSRs. Zeros
// before the firmware or the operating system has switched it on.
void readAmdLimits(const SpeedSources& sources, ProcessorLimits& limits) {
    std::uint64_t levels = 0;
    if (sources.model.identity.features.contains("cppc") && sources.readMsr(msrCppcCapability, levels) && levels != 0) {
        limits.levels = {bits(levels, 31, 24), bits(levels, 23, 16), bits(levels, 15, 8), bits(levels, 7, 0)};
    }
}

} // namespace libQuarrow::topology
