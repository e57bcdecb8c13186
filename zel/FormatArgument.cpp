// printf-like formatting. The numbers are {fmt}'s; texts are padded here, since their units are 16 bits wide.
#include <zel/String.h>

#include <zel/Assertion.h>

#include <fmt/printf.h>

#include <algorithm>
#include <cstring>
#include <optional>

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
    bool left = false;  // -
    bool plus = false;  // +
    bool space = false; // blank
    bool alternate = false;
    bool zero = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    unsigned int narrowedBits = 64; // 16 with h, 8 with hh
    char letter = '\0';
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
            require(argument.kind == Kind::Double);
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
        parseFlags(conversion);
        if (const std::optional<std::int64_t> width = parseCount()) {
            conversion.left = conversion.left || *width < 0;
            conversion.width = boundedCount(*width < 0 ? -*width : *width);
        }
        if (*m_next == '.') {
            ++m_next;
            const std::int64_t precision = parseCount().value_or(0);
            if (precision >= 0) { // a negative one counts as none
                conversion.precision = boundedCount(precision);
            }
        }
        parseLength(conversion);
        conversion.letter = *m_next;
        require(conversion.letter != '\0');
        ++m_next;
        return conversion;
    }

    void parseFlags(Conversion& conversion) {
        for (;; ++m_next) {
            switch (*m_next) {
            case '-':
                conversion.left = true;
                break;
            case '+':
                conversion.plus = true;
                break;
            case ' ':
                conversion.space = true;
                break;
            case '#':
                conversion.alternate = true;
                break;
            case '0':
                conversion.zero = true;
                break;
            default:
                return;
            }
        }
    }

    // Digits, or a * that takes the next argument.
    std::optional<std::int64_t> parseCount() {
        if (*m_next == '*') {
            ++m_next;
            return signedValue(nextArgument());
        }
        std::optional<std::int64_t> count;
        while (*m_next >= '0' && *m_next <= '9') {
            count = count.value_or(0) * 10 + (*m_next++ - '0');
            boundedCount(*count);
        }
        return count;
    }

    // A slip in a format must not ask for gigabytes.
    static std::size_t boundedCount(std::int64_t count) {
        require(count >= 0 && count <= 0xFFFF);
        return static_cast<std::size_t>(count);
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
        if (conversion.letter == 'd' || conversion.letter == 'i') {
            const std::int64_t value = signedValue(argument);
            appendNumber(conversion, narrowedBits == 8    ? static_cast<std::int8_t>(value)
                                     : narrowedBits == 16 ? static_cast<std::int16_t>(value)
                                                          : value);
            return;
        }
        conversion.plus = conversion.space = false; // signs of signed conversions only, where {fmt} would print them
        const std::uint64_t value = unsignedValue(argument);
        appendNumber(conversion, narrowedBits == 64 ? value : value & ((1ULL << narrowedBits) - 1));
    }

    template <class T>
    void appendNumber(const Conversion& conversion, T value) {
        std::string format = "%";
        format += conversion.left ? "-" : "";
        format += conversion.plus ? "+" : "";
        format += conversion.space ? " " : "";
        format += conversion.alternate ? "#" : "";
        format += conversion.zero ? "0" : "";
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
        m_result.append(conversion.left ? 0 : padding, u' ').append(text).append(conversion.left ? padding : 0, u' ');
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
