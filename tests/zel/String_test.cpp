#include <zel/Array.h>
#include <zel/String.h>

#include <gtest/gtest.h>

namespace {

using zel::String;

std::string shown(const zel::Array<String>& pieces) {
    return "[" + String::join(pieces, "|").toUtf8() + "]";
}

TEST(String, ReadsBytesAsUnitsOfTheSameValue) {
    EXPECT_EQ(String("R\xAE\xFF").units(), u"R\u00AE\u00FF");
    EXPECT_EQ(String(std::string("\0\xAE", 2)).size(), 2u);
    EXPECT_TRUE(String(static_cast<const char*>(nullptr)).isEmpty());
    EXPECT_EQ(String(u"\u0141\u00AE").getLowerByteString(), "\x41\xAE");
}

TEST(String, CarriesUtf8AndMarksWhatIsNone) {
    const struct {
        const char* utf8;
        std::u16string units;
    } roundTrips[] = {
        {"", u""}, {"a\xC2\xB0", u"a\u00B0"}, {"\xE2\x80\xA6", u"\u2026"}, {"\xF0\x9F\x98\x80", u"\U0001F600"}};
    for (const auto& c : roundTrips) {
        EXPECT_EQ(String::fromUtf8(c.utf8).units(), c.units);
        EXPECT_EQ(String(c.units).toUtf8(), c.utf8);
    }
    const struct {
        const char* utf8;
        std::u16string units;
    } broken[] = {
        {"\xC3"
         "A",
         u"\uFFFDA"},                            // cut short before another letter, which stays
        {"x\xE2\x80", u"x\uFFFD\uFFFD"},         // cut short by the end
        {"\xC0\xAF", u"\uFFFD\uFFFD"},           // longer than it need be
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"}, // a surrogate
        {"\xFFz", u"\uFFFDz"},
    };
    for (const auto& c : broken) {
        EXPECT_EQ(String::fromUtf8(c.utf8).units(), c.units);
    }
    EXPECT_EQ(String(std::u16string{u'a', 0xD800, u'b', 0xDC00}).toUtf8(), "a\xEF\xBF\xBD"
                                                                           "b\xEF\xBF\xBD");
}

TEST(String, Finds) {
    const String text("abcabc");
    EXPECT_EQ(text.find("bc"), 1u);
    EXPECT_EQ(text.find("bc", 2), 4u);
    EXPECT_EQ(text.find("x"), String::npos);
    EXPECT_EQ(text.find("a", 99), String::npos);
    EXPECT_EQ(text.reverseFind("abc"), 3u);
    EXPECT_EQ(text.reverseFind("cb"), String::npos);
    EXPECT_TRUE(text.startsWith("abca"));
    EXPECT_FALSE(String("ab").startsWith("abc"));
}

TEST(String, CutsAndJoins) {
    const struct {
        String text;
        const char* expected;
    } cases[] = {
        {String("abcdef").subString(2), "cdef"},
        {String("abcdef").subString(2, 3), "cde"},
        {String("abcdef").subString(4, 99), "ef"},
        {String("abc").subString(3), ""},
        {String("abc").subString(4, 1), ""},
        {String(" \t\r\n\v\fa b \n").trim(), "a b"},
        {String(" \t ").trim(), ""},
        {String("  Intel(R)   Core\t i7 \n").normalizeSpaces(), "Intel(R) Core i7"},
        {String::repeat("ab", 3), "ababab"},
        {String::repeat("ab", 0), ""},
        {String("abc").getFixedStr(5), "abc  "},
        {String("abc").getFixedStr(2), "ab"},
        {String("a") + "b" + String("c"), "abc"},
        {shown(String("a,,b,").split(",")), "[a||b|]"},
        {shown(String("a::b:c").split("::")), "[a|b:c]"},
        {shown(String("").split(",")), "[]"},
        {shown(String("a,b").split("")), "[a,b]"},
        {shown(String(";a, b;;c,").tokenize(",; ")), "[a|b|c]"},
        {shown(String(",,").tokenize(",")), "[]"},
        {String::join({}, ","), ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.text, c.expected);
    }
    EXPECT_EQ(String("").split(",").size(), 1u);
    EXPECT_EQ(String(",,").tokenize(",").size(), 0u);
}

TEST(String, ReadsWholeNumbers) {
    constexpr std::uint64_t untouched = 77;
    const struct {
        String text;
        std::uint64_t expected;
    } cases[] = {
        {"0", 0},
        {"0012", 12},
        {"18446744073709551615", 0xFFFFFFFFFFFFFFFF},
        {"0x1f", 0x1F},
        {"0XFFFFFFFFFFFFFFFF", 0xFFFFFFFFFFFFFFFF},
        {"1Fh", 0x1F},
        {"0ffH", 0xFF},
        {"12h", 0x12},
        {"", untouched},
        {"h", untouched},
        {"0x", untouched},
        {"0x1h", untouched},
        {"1F", untouched},
        {" 1", untouched},
        {"1 ", untouched},
        {"+1", untouched},
        {"-1", untouched},
        {"0x-1", untouched},
        {"18446744073709551616", untouched},
        {"0x10000000000000000", untouched},
        {String(u"\u0131"), untouched}, // its low byte is the digit 1
    };
    for (const auto& c : cases) {
        std::uint64_t value = untouched;
        EXPECT_EQ(c.text.toUint64(value) != 0, c.expected != untouched) << c.text;
        EXPECT_EQ(value, c.expected) << c.text;
        EXPECT_EQ(c.text.toUint64(value, 1), String::PARSE_FAILED);
    }
    std::uint16_t small = 5;
    EXPECT_EQ(String("65535").toUint16(small), String::PARSE_OK);
    EXPECT_EQ(String("65536").toUint16(small), String::PARSE_FAILED);
    EXPECT_EQ(small, 65535);
}

TEST(String, ReadsLeadingDigits) {
    const struct {
        String text;
        int base;
        unsigned int expected;
    } cases[] = {
        {" 12ab", 10, 12},
        {"ab", 10, 0},
        {"", 10, 0},
        {"ab", 16, 0xAB},
        {"0x1F", 16, 0x1F},
        {"4294967295", 10, ~0u},
        {"4294967296", 10, ~0u},
        {"-1", 10, ~0u},
        {"7", 1, 0},
        {"99999999999999999999", 10, ~0u},
        {"z", 36, 35},
        {"7", 37, 0},
        {"*", 10, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.text.strToUInt(c.base), c.expected) << c.text << " in base " << c.base;
    }
}

} // namespace
