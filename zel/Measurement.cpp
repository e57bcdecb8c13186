#include <zel/Measurement.h>

#include <zel/Assertion.h>

namespace zel {

String ZELValue::toString() const {
    return String::SprintfFormat("%I64u", m_value);
}

String DiscreteMeasurement::toString() const {
    struct Unit {
        unsigned int shift;
        const char* name;
    };
    constexpr Unit units[] = {{40, "TB"}, {30, "GB"}, {20, "MB"}, {10, "KB"}};
    for (const Unit& unit : units) {
        const std::uint64_t size = std::uint64_t{1} << unit.shift;
        const std::uint64_t whole = m_bytes >> unit.shift;
        const std::uint64_t hundredths = (m_bytes & (size - 1)) * 100;
        if (whole == 0 || hundredths % size != 0) {
            continue;
        }
        // The fraction is a multiple of 1/1024 with two decimals at most: 0, 25, 50 or 75 hundredths.
        const std::uint64_t fraction = hundredths >> unit.shift;
        const char* const decimals = fraction == 25 ? ".25" : fraction == 50 ? ".5" : fraction == 75 ? ".75" : "";
        return String::SprintfFormat("%I64u%s %s", whole, decimals, unit.name);
    }
    return String::SprintfFormat("%I64u %s", m_bytes, m_bytes == 1 ? "byte" : "bytes");
}

NonDiscreteMeasurement::NonDiscreteMeasurement(double value, unsigned int magnitude, unsigned int precision)
    : m_value(value), m_precision(precision) {
    ZEL_ASSERT_TEXT(magnitude == MagnitudeOne, "magnitude == MagnitudeOne", "zel/Measurement");
}

String NonDiscreteMeasurement::toString(unsigned int style, unsigned int magnitude) const {
    ZEL_ASSERT_TEXT(style == FixedDecimals, "style == FixedDecimals", "zel/Measurement");
    ZEL_ASSERT_TEXT(magnitude == MagnitudeNone, "magnitude == MagnitudeNone", "zel/Measurement");
    return String::SprintfFormat("%.*f", m_precision, m_value);
}

} // namespace zel
