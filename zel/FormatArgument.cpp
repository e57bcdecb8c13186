// printf-like formatting. The numbers are {fmt}'s; texts are padded here, since their units are 16 bits wide.
#include <zel/String.h>

#include <zel/Assertion.h>

#include <fmt/printf.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

namespace zel {

FormatArgument::FormatArgument(const char* latin1) : kind(Kind::Text), text(latin1 == nullptr ? "(null)" : latin1) {}
FormatArgument::FormatArgument(const std::string& latin1) : kind(Kind::Text), text(latin1) {}
FormatArgument::FormatArgument(const String& value) : kind(Kind::Text), text(value) {}

namespace {

using Kind = FormatArgument::Kind;

void require(bool holds) {
    ZEL_ASSERT_TEXT(holds, "format matches arguments", "zel/String");
}

// What stands between a '%' and its conversion letter, and the letter.
struct Conversion {
    std::string flags; // of "-+ #0"
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    unsigned int narrowedBits = 64; // 16 with h, 8 with hh
    char letter = '\0';

    bool has(char flag) const { return flags.find(flag) != std::string::npos; }
};

bool contains(const char* set, char letter) {
    return letter != '\0' && std::strchr(set, letter) != nullptr;
}

class Formatter {
  public:
    Formatter(const char* format, const FormatArgument* arguments, std::size_t count)
        : m_next(format), m_argument(arguments), m_lastArgument(arguments + count) {}

    std::u16string run() {
        while (*m_next != '\0') {
            const char* const end = m_next + std::strcspn(m_next, "%");
            append(m_next, end);
            m_next = end;
            if (*m_next == '%') {
                ++m_next;
                formatConversion();
            }
        }
        return std::move(m_result);
    }

  private:
    void append(const char* begin, const char* end) {
        std::transform(begin, end, std::back_inserter(m_result), [](char c) { return static_cast<unsigned char>(c); });
    }

    const FormatArgument& nextArgument() {
        require(m_argument != m_lastArgument);
        return *m_argument++;
    }

    void formatConversion() {
        if (*m_next == '%') {
            m_result += u'%';
            ++m_next;
            return;
        }
        const Conversion conversion = parseConversion();
        const FormatArgument& argument = nextArgument();
        if (contains("diuoxX", conversion.letter)) {
            appendInteger(conversion, argument);
        } else if (contains("eEfFgG", conversion.letter)) {
            // {fmt} and the C library do not agree on %#g. And {fmt} stops at 767 digits, of which 309 may stand before
            // the point.
            constexpr std::size_t mostDecimals = 450;
            require(argument.kind == Kind::Double && !(conversion.has('#') && contains("gG", conversion.letter)) &&
                    !(conversion.precision.value_or(0) > mostDecimals && contains("fF", conversion.letter)));
            appendNumber(conversion, argument.number);
        } else if (conversion.letter == 'c') {
            appendUnit(conversion, argument);
        } else if (conversion.letter == 's') {
            require(argument.kind == Kind::Text);
            const std::size_t length = std::min(conversion.precision.value_or(String::npos), argument.text.size());
            appendPadded(conversion, std::u16string_view(argument.text.units()).substr(0, length));
        } else {
            require(conversion.letter == 'p' && argument.kind == Kind::Pointer);
            appendNumber(conversion, argument.pointer);
        }
    }

    Conversion parseConversion() {
        Conversion conversion;
        const std::size_t flagCount = std::strspn(m_next, "-+ #0");
        conversion.flags.assign(m_next, flagCount);
        m_next += flagCount;
        const std::int64_t width = parseCount().value_or(0);
        conversion.flags += width < 0 ? "-" : "";
        conversion.width = static_cast<std::size_t>(width < 0 ? -width : width);
        if (*m_next == '.') {
            ++m_next;
            const std::int64_t precision = parseCount().value_or(0);
            if (precision >= 0) { // a negative one counts as none
                conversion.precision = static_cast<std::size_t>(precision);
            }
        }
        parseLength(conversion);
        conversion.letter = *m_next;
        require(conversion.letter != '\0');
        ++m_next;
        return conversion;
    }

    // Digits, or a * that takes the next argument. Bounded, since a slip in a format must not ask for gigabytes.
    std::optional<std::int64_t> parseCount() {
        constexpr std::int64_t limit = 0xFFFF;
        std::optional<std::int64_t> count;
        if (*m_next == '*') {
            ++m_next;
            count = signedValue(nextArgument());
            require(*count >= -limit && *count <= limit);
            return count;
        }
        while (*m_next >= '0' && *m_next <= '9') {
            count = count.value_or(0) * 10 + (*m_next++ - '0');
            require(*count <= limit);
        }
        return count;
    }

    // h and hh narrow the value. The others only say how wide an argument is, and each argument knows that itself.
    void parseLength(Conversion& conversion) {
        if (*m_next == 'I') {
            require(std::strncmp(m_next, "I64", 3) == 0 || std::strncmp(m_next, "I32", 3) == 0);
            m_next += 3;
        } else if (*m_next == 'h') {
            ++m_next;
            conversion.narrowedBits = *m_next == 'h' ? 8 : 16;
            m_next += *m_next == 'h' ? 1 : 0;
        } else if (*m_next == 'l') {
            ++m_next;
            m_next += *m_next == 'l' ? 1 : 0;
        } else if (contains("zjtL", *m_next)) {
            ++m_next;
        }
    }

    static std::int64_t signedValue(const FormatArgument& argument) {
        switch (argument.kind) {
        case Kind::Signed32:
        case Kind::Unsigned32:
            return static_cast<std::int32_t>(static_cast<std::uint32_t>(argument.bits));
        case Kind::Signed64:
        case Kind::Unsigned64:
            return static_cast<std::int64_t>(argument.bits);
        default:
            require(false);
            return 0;
        }
    }

    static std::uint64_t unsignedValue(const FormatArgument& argument) {
        const auto value = static_cast<std::uint64_t>(signedValue(argument));
        const bool is32Bits = argument.kind == Kind::Signed32 || argument.kind == Kind::Unsigned32;
        return is32Bits ? static_cast<std::uint32_t>(value) : value;
    }

    void appendInteger(Conversion conversion, const FormatArgument& argument) {
        const unsigned int narrowedBits = conversion.narrowedBits;
        if (contains("di", conversion.letter)) {
            const std::int64_t value = signedValue(argument);
            appendWhole(conversion, narrowedBits == 8    ? static_cast<std::int8_t>(value)
                                    : narrowedBits == 16 ? static_cast<std::int16_t>(value)
                                                         : value);
            return;
        }
        // {fmt} would print the signs of unsigned conversions too.
        std::string& flags = conversion.flags;
        flags.erase(std::remove_if(flags.begin(), flags.end(), [](char c) { return contains("+ ", c); }), flags.end());
        const std::uint64_t value = unsignedValue(argument);
        appendWhole(conversion, narrowedBits == 64 ? value : value & ((1ULL << narrowedBits) - 1));
    }

    template <class T>
    void appendWhole(const Conversion& conversion, T value) {
        if (value == 0 && conversion.precision == std::size_t{0}) { // no digit, where {fmt} prints one
            const bool octal = conversion.letter == 'o' && conversion.has('#');
            appendPadded(conversion, octal ? u"0" : conversion.has('+') ? u"+" : conversion.has(' ') ? u" " : u"");
        } else {
            appendNumber(conversion, value);
        }
    }

    template <class T>
    void appendNumber(const Conversion& conversion, T value) {
        std::string format = '%' + conversion.flags;
        if (conversion.width != 0) {
            format += std::to_string(conversion.width);
        }
        if (conversion.precision) {
            format += '.' + std::to_string(*conversion.precision);
        }
        format += conversion.letter;
        const std::string number = fmt::sprintf(format, value);
        append(number.data(), number.data() + number.size());
    }

    void appendUnit(const Conversion& conversion, const FormatArgument& argument) {
        const std::int64_t value = signedValue(argument);
        // A negative one is a char from 0x80, which is read as a byte.
        const char16_t unit = value < 0 ? static_cast<unsigned char>(value) : static_cast<char16_t>(value);
        appendPadded(conversion, std::u16string_view(&unit, 1));
    }

    void appendPadded(const Conversion& conversion, std::u16string_view text) {
        const std::size_t padding = conversion.width - std::min(conversion.width, text.size());
        const bool left = conversion.has('-');
        m_result.append(left ? 0 : padding, u' ').append(text).append(left ? padding : 0, u' ');
    }

    const char* m_next;
    const FormatArgument* m_argument;
    const FormatArgument* m_lastArgument;
    std::u16string m_result;
};

} // namespace

String String::formatArguments(const char* format, const FormatArgument* arguments, std::size_t count) {
    require(format != nullptr);
    return String(Formatter(format, arguments, count).run());
}

} // namespace zel
