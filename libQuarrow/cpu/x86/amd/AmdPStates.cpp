#include <libQuarrow/cpu/x86/amd/AmdPStates.h>

#include <libQuarrow/cpu/x86/amd/AMD_PStateTable.h>
#include <libQuarrow/cpu/x86/amd/x86_amd_northbridge.h>

#include <cstddef>
#include <utility>

namespace libQuarrow::cpu {
namespace {

// Hardware configuration; bit 24 TscFreqSel: the time-stamp counter runs at the rate of the base state, bit 25 CpbDis:
// boost is switched off.
constexpr std::uint32_t msrHwcr = 0xC0010015;
constexpr std::uint32_t msrPStateLimit = 0xC0010061;  // bits 6:4 PstateMaxVal: the last P-state, without boost states
constexpr std::uint32_t msrPStateStatus = 0xC0010063; // bits 2:0 CurPstate, without boost states
constexpr std::uint32_t msrPState0 = 0xC0010064;      // bit 63: enabled
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

class PStateReader {
  public:
    PStateReader(const AmdPStateFamily& family, const MsrReader& readMsr) : m_family(family), m_readMsr(readMsr) {
        m_hasCofVid = family.family <= lastCofVidFamily && m_readMsr(msrCofVidStatus, m_cofVid);
        m_pllMHz = family.layout == AmdPStateLayout::PllDid ? mainPllMHz(m_cofVid) : 0;
        readStates();
    }

    AmdPStates read(double tscMHz, bool hasBoost) {
        findBase(tscMHz, hasBoost);
        const std::size_t first = m_base.value_or(0);
        m_told.lowest = m_states.lowest(first, lastState());
        if (m_base) {
            m_told.base = m_states.multiplier(first);
            const auto highest = m_states.multiplier(m_states.firstEnabled(0).value_or(first));
            if (m_boostIsOn && highest.value_or(0) > m_told.base.value_or(0)) {
                m_told.turbo = highest;
            }
        }
        std::uint64_t status = 0;
        if (m_hasCofVid) {
            m_told.current = multiplierOf(m_cofVid);
        } else if (m_base && m_readMsr(msrPStateStatus, status)) {
            m_told.current = m_states.multiplier(first + bits(status, 2, 0));
        }
        return std::move(m_told);
    }

  private:
    double multiplierOf(std::uint64_t pstate) const {
        return coreMHz(m_family.layout, pstate, m_pllMHz) / m_family.busMHz;
    }

    void readStates() {
        for (std::uint32_t i = 0; i < m_family.registers; ++i) {
            std::uint64_t pstate = 0;
            if (!m_readMsr(msrPState0 + i, pstate)) {
                m_states.addUnknown();
            } else if (!bit(pstate, 63)) {
                m_states.addDisabled();
            } else if (const double multiplier = multiplierOf(pstate); multiplier != 0) {
                m_states.addEnabled(multiplier);
                m_told.enabled.push_back({i, multiplier});
            } else {
                m_states.addUnknown();
            }
        }
    }

    // How many boost states come before the base state stands in the northbridge. Where that cannot be read, the base
    // state is the one whose frequency the time-stamp counter has; failing that the first one, of a processor that says
    // that it has no boost. From family 0x17 on boost has no P-states of its own.
    void findBase(double tscMHz, bool hasBoost) {
        if (!m_family.northbridgeTells) {
            m_base = m_states.firstEnabled(0);
            return;
        }
        std::uint64_t hwcr = 0;
        const bool hasHwcr = m_readMsr(msrHwcr, hwcr);
        m_boostIsOn = hasHwcr && !bit(hwcr, 25);
        if (const auto control = readAmdNorthbridge(linkFunction, boostControl)) {
            m_base = m_states.firstEnabled(bits(*control, 4, 2));
            m_boostIsOn = m_boostIsOn && bits(*control, 1, 0) != 0;
            return;
        }
        const bool tscTells = tscMHz != 0 && !(hasHwcr && !bit(hwcr, 24));
        if (tscTells) {
            m_base = m_states.at(tscMHz / m_family.busMHz);
        }
        if (!m_base && !hasBoost) {
            m_base = m_states.firstEnabled(0);
        }
    }

    // The last register that the processor uses; it need not be enabled.
    std::size_t lastState() const {
        if (m_family.northbridgeTells) {
            if (const auto control = readAmdNorthbridge(miscFunction, clockPowerControl2)) {
                return bits(*control, 10, 8);
            }
        }
        std::uint64_t limit = 0;
        return m_base && m_readMsr(msrPStateLimit, limit) ? *m_base + bits(limit, 6, 4) : m_family.registers;
    }

    const AmdPStateFamily& m_family;
    const MsrReader& m_readMsr;
    std::uint64_t m_cofVid = 0;
    bool m_hasCofVid = false;
    double m_pllMHz = 0;
    AMD_PStateTable m_states;
    AmdPStates m_told;
    boost::optional<std::size_t> m_base;
    bool m_boostIsOn = false;
};

} // namespace

AmdPStates readAmdPStates(const AmdPStateFamily& family, const MsrReader& readMsr, double tscMHz, bool hasBoost) {
    return PStateReader(family, readMsr).read(tscMHz, hasBoost);
}

} // namespace libQuarrow::cpu
