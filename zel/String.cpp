#include <zel/String.h>

#include <zel/Array.h>

#include <algorithm>
#include <ostream>
#include <utility>

namespace zel {

namespace {

constexpr char16_t blanks[] = u" \t\r\n\v\f";

// Through unsigned char, so that bytes from 0x80 do not turn into large units where char is signed.
std::u16string widen(std::string_view bytes) {
    std::u16string units(bytes.size(), u'\0');
    std::transform(bytes.begin(), bytes.end(), units.begin(),
                   [](char byte) { return static_cast<unsigned char>(byte); });
    return units;
}

} // namespace

// Inline already, but MinGW exports it from the library only where it is defined once more.
constexpr std::size_t String::npos;

String::String(const char* latin1) : m_units(latin1 == nullptr ? std::u16string() : widen(latin1)) {}

String::String(const std::string& latin1) : m_units(widen(latin1)) {}

String::String(std::u16string units) : m_units(std::move(units)) {}

std::string String::getLowerByteString() const {
    std::string bytes(m_units.size(), '\0');
    std::transform(m_units.begin(), m_units.end(), bytes.begin(),
                   [](char16_t unit) { return static_cast<char>(unit); });
    return bytes;
}

char16_t String::operator[](std::size_t index) const {
    ZEL_ASSERT_TEXT(index < size(), "index < size()", "zel/String");
    return m_units[index];
}

std::size_t String::find(const String& text, std::size_t from) const {
    return m_units.find(text.m_units, from);
}

std::size_t String::reverseFind(const String& text) const {
    return m_units.rfind(text.m_units);
}

bool String::startsWith(const String& text) const {
    return m_units.compare(0, text.size(), text.m_units) == 0;
}

String String::subString(std::size_t start, std::size_t count) const {
    return start < size() ? String(m_units.substr(start, count)) : String();
}

Array<String> String::split(const String& separator) const {
    Array<String> pieces;
    std::size_t start = 0;
    if (!separator.isEmpty()) {
        for (std::size_t end = find(separator); end != npos; end = find(separator, start)) {
            pieces.append(subString(start, end - start));
            start = end + separator.size();
        }
    }
    pieces.append(subString(start));
    return pieces;
}

Array<String> String::tokenize(const String& separators) const {
    Array<String> pieces;
    std::size_t start = m_units.find_first_not_of(separators.m_units);
    while (start != npos) {
        const std::size_t end = std::min(m_units.find_first_of(separators.m_units, start), size());
        pieces.append(subString(start, end - start));
        start = m_units.find_first_not_of(separators.m_units, end);
    }
    return pieces;
}

String String::join(const Array<String>& pieces, const String& separator) {
    String joined;
    bool first = true;
    for (const String& piece : pieces) {
        if (!first) {
            joined += separator;
        }
        joined += piece;
        first = false;
    }
    return joined;
}

String String::trim() const {
    const std::size_t first = m_units.find_first_not_of(blanks);
    return first == npos ? String() : subString(first, m_units.find_last_not_of(blanks) - first + 1);
}

String String::normalizeSpaces() const {
    constexpr std::u16string_view all = blanks;
    String normalized;
    normalized.m_units.resize(size());
    char16_t* end = normalized.m_units.data();
    bool afterBlank = false;
    for (const char16_t unit : m_units) {
        // None of them is above the space.
        const bool blank = unit <= u' ' && all.find(unit) != all.npos;
        if (!blank) {
            if (afterBlank && end != normalized.m_units.data()) {
                *end++ = u' ';
            }
            *end++ = unit;
        }
        afterBlank = blank;
    }
    normalized.m_units.resize(static_cast<std::size_t>(end - normalized.m_units.data()));
    return normalized;
}

String String::repeat(const String& text, std::size_t times) {
    String repeated;
    repeated.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        repeated += text;
    }
    return repeated;
}

String String::getFixedStr(std::size_t width) const {
    String fixed = *this;
    fixed.m_units.resize(width, u' ');
    return fixed;
}

String& String::operator+=(const String& other) {
    m_units += other.m_units;
    return *this;
}

String operator+(String left, const String& right) {
    return left += right;
}
bool operator==(const String& left, const String& right) {
    return left.m_units == right.m_units;
}
bool operator!=(const String& left, const String& right) {
    return left.m_units != right.m_units;
}
bool operator<(const String& left, const String& right) {
    return left.m_units < right.m_units;
}
std::ostream& operator<<(std::ostream& out, const String& text) {
    return out << text.toUtf8();
}

} // namespace zel
