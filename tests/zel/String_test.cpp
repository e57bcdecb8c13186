#include <zel/Array.h>
#include <zel/String.h>

#include <gtest/gtest.h>

namespace {

using zel::String;

std::string shown(const zel::Array<String>& pieces) {
    return std::to_string(pieces.size()) + " " + String::join(pieces, "|").toUtf8();
}

TEST(String, ReadsBytesAsUnitsOfTheSameValue) {
    EXPECT_EQ(String("R\xAE\xFF").units(), u"R\u00AE\u00FF");
    EXPECT_EQ(String(std::string("\0\xAE", 2)).size(), 2u);
    EXPECT_TRUE(String(static_cast<const char*>(nullptr)).isEmpty());
    EXPECT_EQ(String(u"\u0141\u00AE").getLowerByteString(), "\x41\xAE");
}

TEST(String, CarriesUtf8AndMarksWhatIsNone) {
    const struct {
        std::string utf8;
        std::u16string units;
        bool wellFormed;
    } cases[] = {
        {"", u"", true},
        {"a\xC2\xB0", u"a\u00B0", true},
        {"\xE2\x80\xA6", u"\u2026", true},
        {"\xF0\x9F\x98\x80", u"\U0001F600", true},
        {std::string("\xC3") + "A", u"\uFFFDA", false}, // cut short before another letter, which stays
        {"x\xE2\x80", u"x\uFFFD\uFFFD", false},         // cut short by the end
        {"\xC0\xAF", u"\uFFFD\uFFFD", false},           // longer than it need be
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false}, // a surrogate
        {"\xFFz", u"\uFFFDz", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(String::fromUtf8(c.utf8).units(), c.units);
        EXPECT_EQ(String(c.units).toUtf8() == c.utf8, c.wellFormed);
    }
    EXPECT_EQ(String(std::u16string{0xD800, u'x', 0xDC00}).toUtf8(), "\xEF\xBF\xBDx\xEF\xBF\xBD");
}

TEST(String, FindsCutsAndJoins) {
    const String whole("abcabc");
    EXPECT_TRUE(whole.find("bc") == 1 && whole.find("bc", 2) == 4 && whole.find("a", 99) == String::npos);
    EXPECT_TRUE(whole.reverseFind("abc") == 3 && whole.startsWith("abca") && !String("ab").startsWith("abc"));
    const std::pair<String, const char*> cases[] = {
        {String("abcdef").subString(2), "cdef"},
        {String("abcdef").subString(2, 3), "cde"},
        {String("abcdef").subString(4, 99), "ef"},
        {String("abc").subString(4, 1), ""},
        {String(" \t\r\n\v\fa b \n").trim(), "a b"},
        {String(" \t ").trim(), ""},
        {String("  Intel(R)   Core\t i7 \n").normalizeSpaces(), "Intel(R) Core i7"},
        {String::repeat("ab", 3) + String::repeat("c", 0), "ababab"},
        {String("abc").getFixedStr(5), "abc  "},
        {String("abc").getFixedStr(2), "ab"},
        {shown(String("a,,b,").split(",")), "4 a||b|"},
        {shown(String("a::b:c").split("::")), "2 a|b:c"},
        {shown(String("").split(",")), "1 "},
        {shown(String("a,b").split("")), "1 a,b"},
        {shown(String(";a, b;;c,").tokenize(",; ")), "3 a|b|c"},
        {shown(String(",,").tokenize(",")), "0 "},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(text, expected);
    }
}

TEST(String, ReadsWholeNumbers) {
    const std::pair<const char*, std::uint64_t> numbers[] = {
        {"0", 0},
        {"0012", 12},
        {"18446744073709551615", ~0ull},
        {"0x1f", 0x1F},
        {"0XFFFFFFFFFFFFFFFF", ~0ull},
        {"1Fh", 0x1F},
        {"0ffH", 0xFF},
        {"12h", 0x12},
    };
    for (const auto& [text, expected] : numbers) {
        std::uint64_t value = 77;
        EXPECT_NE(String(text).toUint64(value), 0) << text;
        EXPECT_EQ(value, expected) << text;
        EXPECT_EQ(String(text).toUint64(value, 1), String::PARSE_FAILED);
    }
    for (const String& text : {String(""), String("h"), String("0x"), String("0x1h"), String("1F"), String(" 1"),
                               String("1 "), String("+1"), String("-1"), String("0x-1"), String("18446744073709551616"),
                               String("0x10000000000000000"), String(u"\u0131")}) { // its low byte is the digit 1
        std::uint64_t value = 77;
        EXPECT_EQ(text.toUint64(value), String::PARSE_FAILED) << text;
        EXPECT_EQ(value, 77u) << text;
    }
    std::uint16_t small = 5;
    EXPECT_TRUE(String("65535").toUint16(small) != 0 && String("65536").toUint16(small) == 0 && small == 65535);
}

TEST(String, ReadsLeadingDigits) {
    const struct {
        const char* text;
        int base;
        unsigned int expected;
    } cases[] = {
        {" 12ab", 10, 12},  {"ab", 10, 0},
        {"", 10, 0},        {"ab", 16, 0xAB},
        {"0x1F", 16, 0x1F}, {"4294967295", 10, ~0u},
        {"-1", 10, ~0u},    {"4294967296", 10, ~0u},
        {"7", 1, 0},        {"-99999999999999999999", 10, ~0u},
        {"z", 36, 35},      {"7", 37, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(String(c.text).strToUInt(c.base), c.expected) << c.text << " in base " << c.base;
    }
}

} // namespace
