#pragma once

#include <libQuarrow/machine/cpuid_args.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

// Private to the library: reads one line of a recording from left to right. Every member that answers a bool is false,
// with the cursor where it was, when what it asks for does not stand there.

namespace libQuarrow::os {

inline bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}
inline bool isDecimalDigit(char c) {
    return c >= '0' && c <= '9';
}
inline bool isHexDigit(char c) {
    return isDecimalDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
inline bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

class LineCursor {
  public:
    explicit LineCursor(std::string_view line) : m_rest(line) {}

    std::string_view rest() const { return m_rest; }
    bool atEnd() const { return m_rest.empty(); }
    // True, with the blanks gone, when at least one stood there.
    bool skipBlanks() {
        std::size_t count = 0;
        while (count < m_rest.size() && isBlank(m_rest[count])) {
            ++count;
        }
        m_rest.remove_prefix(count);
        return count != 0;
    }
    bool accept(std::string_view text) {
        if (!startsWith(m_rest, text)) {
            return false;
        }
        m_rest.remove_prefix(text.size());
        return true;
    }
    bool acceptEither(char one, char other) {
        if (m_rest.empty() || (m_rest.front() != one && m_rest.front() != other)) {
            return false;
        }
        m_rest.remove_prefix(1);
        return true;
    }
    // Between `fewest` and `most` hexadecimal digits, and no further digit after them.
    template <class Number>
    bool hex(Number& value, std::size_t fewest, std::size_t most) {
        std::size_t count = 0;
        while (count < m_rest.size() && isHexDigit(m_rest[count])) {
            ++count;
        }
        return count >= fewest && count <= most && digits(value, count, 16);
    }
    template <class Number>
    bool hex(Number& value) {
        return hex(value, 2 * sizeof(Number), 2 * sizeof(Number));
    }
    // Decimal digits whose value fits.
    template <class Number>
    bool decimal(Number& value) {
        std::size_t count = 0;
        while (count < m_rest.size() && isDecimalDigit(m_rest[count])) {
            ++count;
        }
        return count != 0 && digits(value, count, 10);
    }
    // Four registers of eight digits each. Between two of them stands one of `separators`.
    bool fourRegisters(cpu::cpuid_args& registers, char separator, char otherSeparator) {
        const LineCursor before = *this;
        if (hex(registers.eax) && acceptEither(separator, otherSeparator) && hex(registers.ebx) &&
            acceptEither(separator, otherSeparator) && hex(registers.ecx) && acceptEither(separator, otherSeparator) &&
            hex(registers.edx)) {
            return true;
        }
        *this = before;
        return false;
    }

  private:
    template <class Number>
    bool digits(Number& value, std::size_t count, int base) {
        const char* end = m_rest.data() + count;
        const auto result = std::from_chars(m_rest.data(), end, value, base);
        if (result.ec != std::errc() || result.ptr != end) {
            return false;
        }
        m_rest.remove_prefix(count);
        return true;
    }

    std::string_view m_rest;
};

// What follows the row of `ruling`s that some headings begin with.
inline std::string_view afterRuling(std::string_view line, char ruling) {
    return line.substr(std::min(line.size(), line.find_first_not_of(ruling)));
}

// Whether `line` begins with `pattern`, or is itself no more than a beginning of that. A 9 in the pattern stands for
// decimal digits.
inline bool beginsLike(std::string_view line, std::string_view pattern) {
    LineCursor cursor(line);
    for (std::size_t i = 0; i < pattern.size() && !cursor.atEnd(); ++i) {
        std::uint64_t number = 0;
        if (pattern[i] == '9' ? !cursor.decimal(number) : !cursor.accept(pattern.substr(i, 1))) {
            return false;
        }
    }
    return !line.empty();
}

} // namespace libQuarrow::os
