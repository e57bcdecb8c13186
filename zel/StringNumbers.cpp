// Numbers read from texts.
#include <zel/String.h>

#include <charconv>
#include <cstdlib>
#include <limits>

namespace zel {

namespace {

// Units beyond ASCII become '?', which is no digit of any base. (Their low bytes might be digits.)
std::string asciiOf(const std::u16string& units) {
    std::string text;
    text.reserve(units.size());
    for (const char16_t unit : units) {
        text += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return text;
}

template <class T>
String::PARSE_RESULT parseWhole(const std::u16string& units, T& value) {
    const std::string text = asciiOf(units);
    std::string_view digits = text;
    int base = 10;
    if (digits.substr(0, 2) == "0x" || digits.substr(0, 2) == "0X") {
        digits.remove_prefix(2);
        base = 16;
    } else if (!digits.empty() && (digits.back() == 'h' || digits.back() == 'H')) {
        digits.remove_suffix(1);
        base = 16;
    }
    T parsed = 0;
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, parsed, base);
    if (result.ec != std::errc() || result.ptr != end) {
        return String::PARSE_FAILED;
    }
    value = parsed;
    return String::PARSE_OK;
}

} // namespace

String::PARSE_RESULT String::toUint16(std::uint16_t& value, unsigned char option) const {
    return option == 0 ? parseWhole(m_units, value) : PARSE_FAILED;
}

String::PARSE_RESULT String::toUint64(std::uint64_t& value, unsigned char option) const {
    return option == 0 ? parseWhole(m_units, value) : PARSE_FAILED;
}

unsigned int String::strToUInt(int base) const {
    if (base < 2 || base > 36) {
        return 0;
    }
    // Not strtoul, whose result is 32 bits wide on Windows and 64 on Linux.
    const long long value = std::strtoll(asciiOf(m_units).c_str(), nullptr, base);
    constexpr long long limit = std::numeric_limits<unsigned int>::max();
    return value > limit || value < -limit ? std::numeric_limits<unsigned int>::max()
                                           : static_cast<unsigned int>(value);
}

} // namespace zel
