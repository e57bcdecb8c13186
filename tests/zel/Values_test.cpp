#include <zel/Assertion.h>
#include <zel/Measurement.h>
#include <zel/Temperature.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace zel;

TEST(Temperature, ShowsItsDecimalPlaces) {
    const std::pair<Temperature, String> cases[] = {
        {Temperature(), "0"},          {Temperature(605, 1), "60.5"},
        {Temperature(600, 1), "60.0"}, {Temperature(-5, 1), "-0.5"},
        {Temperature(5, 3), "0.005"},  {Temperature(std::numeric_limits<int>::min(), 9), "-2.147483648"},
    };
    for (const auto& [temperature, expected] : cases) {
        EXPECT_EQ(temperature.toString(), expected + String(u" \u00B0C"));
    }
    EXPECT_THROW(Temperature(1, 10), AssertionError);
}

TEST(DiscreteMeasurement, ShowsByteCountsExactly) {
    constexpr std::uint64_t KB = 1024;
    constexpr std::uint64_t MB = 1024 * KB;
    const std::pair<std::uint64_t, const char*> cases[] = {
        {0, "0 bytes"},
        {1, "1 byte"},
        {1023, "1023 bytes"},
        {KB, "1 KB"},
        {1536, "1.5 KB"},
        {MB - 1, "1048575 bytes"},
        {MB + KB, "1025 KB"},
        {1280 * KB, "1.25 MB"},
        {1408 * KB, "1408 KB"},
        {1792 * KB, "1.75 MB"},
        {1024 * MB, "1 GB"},
        {1152 * MB, "1152 MB"},
        {1024 * 1024 * MB, "1 TB"},
        {~std::uint64_t{0}, "18446744073709551615 bytes"},
    };
    for (const auto& [bytes, expected] : cases) {
        EXPECT_EQ(DiscreteMeasurement(bytes).toString(), expected);
    }
}

TEST(Measurement, ShowsPlainNumbers) {
    EXPECT_EQ(ZELValue(~std::uint64_t{0}).toString(), "18446744073709551615");
    EXPECT_EQ(NonDiscreteMeasurement(12.25, 6, 1).toString(2, 13), "12.2"); // half to even: 12.25 is exact in binary
    EXPECT_EQ(NonDiscreteMeasurement(3, 6, 8).toString(2, 13), "3.00000000");
    EXPECT_THROW(NonDiscreteMeasurement(8, 7, 0), AssertionError);
    EXPECT_THROW(NonDiscreteMeasurement(8, 6, 0).toString(2, 12), AssertionError);
}

} // namespace
