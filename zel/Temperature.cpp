#include <zel/Temperature.h>

#include <zel/Assertion.h>

namespace zel {

Temperature::Temperature(int value, unsigned int precision) : m_value(value), m_precision(precision) {
    ZEL_ASSERT_TEXT(precision <= 9, "precision <= 9", "zel/Temperature");
}

String Temperature::toString() const {
    const std::int64_t magnitude = m_value < 0 ? -std::int64_t{m_value} : std::int64_t{m_value};
    String text = m_value < 0 ? "-" : "";
    // At least one digit before the point.
    const String digits = String::SprintfFormat("%0*I64d", m_precision + 1, magnitude);
    const std::size_t whole = digits.size() - m_precision;
    text += digits.subString(0, whole);
    if (m_precision != 0) {
        text += "." + digits.subString(whole);
    }
    return text + " \xB0"
                  "C";
}

} // namespace zel
