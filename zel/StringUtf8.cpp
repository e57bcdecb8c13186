// Texts from and to UTF-8.
#include <zel/String.h>

#include <boost/locale/utf.hpp>

#include <iterator>

namespace zel {

namespace {

namespace utf = boost::locale::utf;

// Every unit that is part of no well-formed sequence becomes one U+FFFD.
template <class To, class From>
std::basic_string<To> transcode(std::basic_string_view<From> text) {
    std::basic_string<To> result;
    result.reserve(text.size());
    const From* next = text.data();
    const From* const end = next + text.size();
    while (next != end) {
        const From* const start = next;
        utf::code_point point = utf::utf_traits<From>::decode(next, end);
        if (point == utf::illegal || point == utf::incomplete) {
            point = 0xFFFD;
            next = start + 1;
        }
        utf::utf_traits<To>::encode(point, std::back_inserter(result));
    }
    return result;
}

} // namespace

String String::fromUtf8(std::string_view utf8) {
    return String(transcode<char16_t, char>(utf8));
}

std::string String::toUtf8() const {
    return transcode<char, char16_t>(m_units);
}

} // namespace zel
