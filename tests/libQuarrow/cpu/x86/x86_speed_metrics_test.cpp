#include <libQuarrow/cpu/x86/x86_speed_metrics.h>

#include <gtest/gtest.h>

#include <limits>

using libQuarrow::cpu::x86_speed_metrics;

namespace {

constexpr unsigned int trimmed = x86_speed_metrics::trimmedPrecision;

TEST(x86_speed_metrics, writes_multipliers) {
    const struct {
        double value;
        unsigned int precision;
        unsigned int minDecimals;
        const char* text;
    } cases[] = {
        {12.5, trimmed, 0, "12.5"},
        {12.0, trimmed, 0, "12"},
        {100.0, trimmed, 0, "100"}, // zeros before the point stay
        {12.0, trimmed, 1, "12.0"},
        {12.25, trimmed, 1, "12.25"},
        {12.5, trimmed, 2, "12.50"},
        {12.0, trimmed, 6, "12.000000"}, // all there are
        {3.0, trimmed, 7, "3.0000000"},  // one more than there are
        {3.0, trimmed, 8, "3.00000000"},
        {0.0000001, trimmed, 0, "0"},
        {8.3333333, trimmed, 0, "8.333333"},
        {-0.5, trimmed, 1, "-0.5"},
        {std::numeric_limits<double>::infinity(), trimmed, 1, "inf"},
        {12.25, 1, 0, "12.2"}, // to even
        {12.5, 0, 1, "12.5"},  // the larger of the two numbers of decimals
        {12.5, 3, 1, "12.500"},
        {12.0, 0, 0, "12"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(x86_speed_metrics::getMultiplierString(row.value, row.precision, row.minDecimals), row.text)
            << row.value << " " << row.precision << " " << row.minDecimals;
    }
}

TEST(x86_speed_metrics, writes_the_current_multiplier_with_its_range) {
    const struct {
        double current, lowest, highest;
        unsigned int precision;
        bool withRange;
        const char* text;
    } cases[] = {
        {24, 8, 36, trimmed, true, "x 24.0 (8 - 36)"},
        {24, 8, 36, trimmed, false, "x 24.0"},
        {24, 8, 36.5, 2, true, "x 24.00 (8.00 - 36.50)"},
        {24, 8, 36, 0, true, "x 24.0 (8 - 36)"}, // one decimal at least for the current one
        {12, 12, 12, trimmed, true, "x 12.0"},   // no range
        {12, 0, 12, trimmed, true, "x 12.0"},
        {12, 12, 0, trimmed, true, "x 12.0"},
        {0, 8, 36, trimmed, true, ""}, // not known: the range goes with it
    };
    for (const auto& row : cases) {
        x86_speed_metrics metrics;
        metrics.multiplierPrecision = row.precision;
        metrics.currentMultiplier = row.current;
        metrics.minMultiplier = row.lowest;
        metrics.maxMultiplier = row.highest;
        zel::String text = "left over";
        EXPECT_EQ(metrics.getCurrentMultiplierString(text, row.withRange), *row.text != '\0');
        EXPECT_EQ(text, row.text);
    }
}

} // namespace
