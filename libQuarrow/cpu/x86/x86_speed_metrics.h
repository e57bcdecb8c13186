#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/String.h>

#include <boost/optional.hpp>

#include <cstdint>

namespace libQuarrow::cpu {

// How fast a logical processor runs: multipliers of the bus clock, and speeds in Hz. A new record knows nothing.
//
// "Highest" is without turbo: the frequency that the processor is sold with. What is 0 or absent is not known.
struct QUARROW_EXPORT x86_speed_metrics {
    // A precision that prints a multiplier with as many decimals as it needs.
    static constexpr std::uint32_t trimmedPrecision = 0xFFFFFFFF;

    std::uint32_t multiplierPrecision = 0; // decimals of multiplier texts, or trimmedPrecision
    double currentMultiplier = 0;          // that the processor is set to
    double effectiveMultiplier = 0;        // that it really ran at while it was looked at
    double minMultiplier = 0;
    double maxMultiplier = 0;

    boost::optional<std::uint64_t> busClock;
    boost::optional<std::uint64_t> currentSpeed;
    boost::optional<std::uint64_t> effectiveSpeed; // measured: from APERF and MPERF
    boost::optional<std::uint64_t> lowestSpeed;
    boost::optional<std::uint64_t> highestSpeed;
    boost::optional<double> turboRatio; // the highest multiplier with turbo, for any number of active cores
    boost::optional<std::uint64_t> turboSpeed;

    // "x 24.0", with `withRange` "x 24.0 (8 - 36)" where the range is known and is one. False, with `out` empty, when
    // the current multiplier is not known.
    bool getCurrentMultiplierString(zel::String& out, bool withRange) const;
    // `value` with `precision` decimals, but with `minDecimals` at least. With trimmedPrecision: with six decimals less
    // the zeros at the end, but with `minDecimals` at least.
    static zel::String getMultiplierString(double value, unsigned int precision, unsigned int minDecimals);
};

} // namespace libQuarrow::cpu
