#pragma once

#include <libQuarrow/cpu/x86/amd/x86_amd_pstates.h>
#include <libQuarrow/cpu/x86/decode/MsrReader.h>
#include <libQuarrow/machine/bits.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <vector>

// Private to the library: what the registers of an AMD processor tell of its speeds, in multiples of the reference
// clock.

namespace libQuarrow::cpu {

// Family 0x10 and later. What is not told is none or 0.
struct AmdPStates {
    struct State {
        std::uint32_t number; // of its register, from MSRC001_0064 on
        double multiplier;
    };
    std::vector<State> enabled;
    boost::optional<double> lowest;
    boost::optional<double> current;
    boost::optional<double> base; // of the state that the processor is sold with
    boost::optional<double> turbo;
};

// Reads the registers anew: the BIOS and overclocking programs change them. `tscMHz` is the rate of the time-stamp
// counter, 0 when not known; `hasBoost` what leaf 0x80000007 says (core performance boost).
AmdPStates readAmdPStates(const AmdPStateFamily& family, const MsrReader& readMsr, double tscMHz, bool hasBoost);

// Family 0xF, FIDVID Status: bits 5:0 the current FID, 13:8 the one at start, 21:16 the highest. A FID stands for 800
// MHz and 100 more for each. BIOS and kernel developer's guide 32559.
class AmdFidVid {
  public:
    static constexpr std::uint32_t msr = 0xC0010042;
    static constexpr std::uint32_t busMHz = 200; // HyperTransport's clock

    explicit constexpr AmdFidVid(std::uint64_t status) : m_status(status) {}

    constexpr double current() const { return multiplier(bits(m_status, 5, 0)); }
    // The highest code in the highest FID marks a part whose multiplier is not limited; what it is sold with is then
    // what it starts with.
    constexpr double base() const {
        constexpr std::uint32_t unlimited = 0x2A;
        const std::uint32_t highest = bits(m_status, 21, 16);
        return multiplier(highest != unlimited ? highest : bits(m_status, 13, 8));
    }

  private:
    static constexpr double multiplier(std::uint32_t fid) { return (800.0 + 100.0 * fid) / busMHz; }

    std::uint64_t m_status;
};

} // namespace libQuarrow::cpu
