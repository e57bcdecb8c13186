#pragma once

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>

#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

#include <string>

namespace testing_support {

inline double megahertz(const boost::optional<std::uint64_t>& hertz) {
    return static_cast<double>(hertz.value_or(0)) / 1000000;
}

// In MHz, 0 for what is not known: "bus clock: lowest multiplier / current one / highest one = highest speed", with
// turbo ", highest ratio with turbo = speed"; "none" when nothing is known.
inline std::string speedText(const libQuarrow::cpu::x86_cpu& cpu) {
    using libQuarrow::cpu::x86_speed_metrics;
    x86_speed_metrics m;
    m.currentMultiplier = 99; // must not show through
    if (!cpu.getSpeedMetrics(m)) {
        return "none";
    }
    EXPECT_EQ(m.multiplierPrecision, x86_speed_metrics::trimmedPrecision);
    // Where bus clock and multiplier are known, so is the speed.
    EXPECT_EQ(m.currentSpeed.has_value(), m.busClock && m.currentMultiplier != 0);
    EXPECT_EQ(m.lowestSpeed.has_value(), m.busClock && m.minMultiplier != 0);
    EXPECT_EQ(m.effectiveSpeed, boost::none) << "a recording's counters stand still";
    zel::String text = zel::String::SprintfFormat("%.10g: %g/%g/%g = %.10g", megahertz(m.busClock), m.minMultiplier,
                                                  m.currentMultiplier, m.maxMultiplier, megahertz(m.highestSpeed));
    if (m.turboRatio || m.turboSpeed) {
        text += zel::String::SprintfFormat(", %g = %.10g", m.turboRatio.value_or(0), megahertz(m.turboSpeed));
    }
    return text.toUtf8();
}

} // namespace testing_support
