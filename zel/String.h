#pragma once

#include <zel/zel_export.h>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace zel {

template <class T>
class Array;
class FormatArgument;

// Text of 16-bit units.
//
// A `const char*` is read byte for byte: each byte becomes the unit of the same value (so 0xAE becomes U+00AE). That is
// how texts that come from registers enter. UTF-8 exists for what people type and read: fromUtf8 and toUtf8.
class ZEL_EXPORT String {
  public:
    // The position that a search answers when it finds nothing.
    static constexpr std::size_t npos = static_cast<std::size_t>(-1);

    // Success or failure of reading a number. "A non-zero PARSE_RESULT is success."
    enum PARSE_RESULT : int { PARSE_FAILED = 0, PARSE_OK = 1 };

    String() = default;
    String(const char* latin1);        // each byte is one unit; a null pointer gives the empty text
    String(const std::string& latin1); // each byte is one unit, zero bytes included
    explicit String(std::u16string units);

    // printf-like formatting, the same on every platform. Understands `%d %i %u %o %x %X %c %s %e %f %g %E %F %G %p %%`
    // with flags (but not `%#g`), width and precision (both up to 65535, the precision of `%f` up to 450; `*` takes
    // them from an argument) and the length prefixes h, hh, l, ll, z, j, t, L, I32 and I64. A `%s` takes a
    // `const char*` (read byte for byte; null is "(null)"), a std::string or a String. An argument's real type decides
    // how it is read, never the length prefix, so a wrong prefix cannot read out of bounds; h and hh still narrow the
    // value. A wrong conversion or a missing argument raises the assertion "format matches arguments"; surplus
    // arguments are ignored.
    template <class... Arguments>
    static String SprintfFormat(const char* format, const Arguments&... arguments);

    // UTF-8. Bytes that are no UTF-8 become U+FFFD; unpaired surrogates are written as U+FFFD.
    static String fromUtf8(std::string_view utf8);
    std::string toUtf8() const;
    // The low byte of each unit.
    std::string getLowerByteString() const;

    std::size_t size() const { return m_units.size(); }
    bool isEmpty() const { return m_units.empty(); }
    void clear() { m_units.clear(); }
    void reserve(std::size_t units) { m_units.reserve(units); }
    char16_t operator[](std::size_t index) const; // asserts "index < size()"
    const std::u16string& units() const { return m_units; }

    // Position of the first (last) occurrence of `text`, or npos.
    std::size_t find(const String& text, std::size_t from = 0) const;
    std::size_t reverseFind(const String& text) const;
    bool startsWith(const String& text) const;
    // Up to `count` units from `start`; empty when `start` is at or past the end.
    String subString(std::size_t start, std::size_t count = npos) const;

    // Pieces between separators. split keeps empty pieces (an empty text is one empty piece); tokenize drops them.
    // `separators` of tokenize is a set of units, of split one whole text (an empty one splits nothing).
    Array<String> split(const String& separator) const;
    Array<String> tokenize(const String& separators) const;
    static String join(const Array<String>& pieces, const String& separator);

    // Without leading and trailing blanks (space, tab, CR, LF, VT, FF).
    String trim() const;
    // trim, and every inner run of blanks becomes one space.
    String normalizeSpaces() const;
    static String repeat(const String& text, std::size_t times);
    // Cut or padded with blanks on the right to exactly `width` units.
    String getFixedStr(std::size_t width) const;

    // The whole text as an unsigned number. Option 0 reads decimal digits, or hexadecimal digits with a 0x (0X) prefix
    // or an h (H) suffix. Anything else, an empty text or a value out of range is PARSE_FAILED and leaves `value` as it
    // was. No other option exists: it fails.
    PARSE_RESULT toUint16(std::uint16_t& value, unsigned char option = 0) const;
    PARSE_RESULT toUint64(std::uint64_t& value, unsigned char option = 0) const;
    // The leading digits of the given base (2 to 36) after leading blanks, as strtoul reads them; 0 when there are
    // none, 0xFFFFFFFF when the value does not fit.
    unsigned int strToUInt(int base) const;

    String& operator+=(const String& other);
    friend ZEL_EXPORT String operator+(String left, const String& right);
    friend ZEL_EXPORT bool operator==(const String& left, const String& right);
    friend ZEL_EXPORT bool operator!=(const String& left, const String& right);
    friend ZEL_EXPORT bool operator<(const String& left, const String& right);
    friend ZEL_EXPORT std::ostream& operator<<(std::ostream& out, const String& text); // as UTF-8

  private:
    static String formatArguments(const char* format, const FormatArgument* arguments, std::size_t count);

    std::u16string m_units;
};

// One argument of SprintfFormat with the type it really has.
class ZEL_EXPORT FormatArgument {
  public:
    enum class Kind { Signed32, Unsigned32, Signed64, Unsigned64, Double, Text, Pointer };

    template <class T, std::enable_if_t<std::is_integral_v<T> || std::is_enum_v<T>, int> = 0>
    FormatArgument(T value) {
        if constexpr (std::is_enum_v<T>) {
            *this = FormatArgument(static_cast<std::underlying_type_t<T>>(value));
        } else {
            kind = std::is_signed_v<T> ? (sizeof(T) > 4 ? Kind::Signed64 : Kind::Signed32)
                                       : (sizeof(T) > 4 ? Kind::Unsigned64 : Kind::Unsigned32);
            bits = static_cast<std::uint64_t>(value);
        }
    }
    FormatArgument(double value) : kind(Kind::Double), number(value) {}
    FormatArgument(const char* latin1);
    FormatArgument(const std::string& latin1);
    FormatArgument(const String& value);
    FormatArgument(const void* value) : kind(Kind::Pointer), pointer(value) {}

    Kind kind = Kind::Signed32;
    std::uint64_t bits = 0; // Signed kinds hold the sign-extended value
    double number = 0;
    const void* pointer = nullptr;
    String text;
};

template <class... Arguments>
String String::SprintfFormat(const char* format, const Arguments&... arguments) {
    if constexpr (sizeof...(Arguments) == 0) {
        return formatArguments(format, nullptr, 0);
    } else {
        const FormatArgument list[] = {FormatArgument(arguments)...};
        return formatArguments(format, list, sizeof...(Arguments));
    }
}

} // namespace zel

template <>
struct std::hash<zel::String> {
    std::size_t operator()(const zel::String& text) const noexcept { return std::hash<std::u16string>()(text.units()); }
};
