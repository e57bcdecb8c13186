#include <zel/Assertion.h>
#include <zel/String.h>

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <limits>

namespace {

using zel::String;

template <class... Arguments>
std::string byTheCLibrary(const std::string& format, Arguments... arguments) {
    char text[512];
    const int length = std::snprintf(text, sizeof text, format.c_str(), arguments...);
    return {text, static_cast<std::size_t>(length)};
}

template <class... Arguments>
void expectAsTheCLibrary(const std::string& format, Arguments... arguments) {
    EXPECT_EQ(String::SprintfFormat(format.c_str(), arguments...).toUtf8(), byTheCLibrary(format, arguments...))
        << format;
}

const char* const flagSets[] = {"", "-", "0", "+", " ", "#", "-0", "+0", "#0", "-#", "+ ", "-+ #0"};
const char* const sizes[] = {"", "1", "13", ".0", ".1", ".5", "8.3", "3.8", "30.16"};

TEST(SprintfFormat, FormatsWholeNumbersAsTheCLibraryDoes) {
    for (const std::string flags : flagSets) {
        for (const std::string size : sizes) {
            for (const char letter : {'d', 'i', 'u', 'o', 'x', 'X'}) {
                // Where MinGW's own library is wrong; GivesTheseTexts has them.
                const bool isSigned = letter == 'd' || letter == 'i';
                if ((!isSigned && flags.find_first_of("+ ") != std::string::npos) || (letter == 'o' && size == ".0")) {
                    continue;
                }
                const std::string start = "%" + flags + size;
                for (const int value : {0, 1, -1, 255, std::numeric_limits<int>::min()}) {
                    expectAsTheCLibrary(start + letter, value);
                    expectAsTheCLibrary(start + "hh" + letter, value);
                    expectAsTheCLibrary(start + 'h' + letter, value);
                }
                for (const long long value : {0LL, -1LL, 0x123456789ABCDEFLL, std::numeric_limits<long long>::min()}) {
                    expectAsTheCLibrary(start + "ll" + letter, value);
                }
            }
        }
    }
}

TEST(SprintfFormat, FormatsFractionsAsTheCLibraryDoes) {
    for (const std::string flags : flagSets) {
        for (const std::string size : sizes) {
            for (const char letter : {'e', 'f', 'g', 'E', 'F', 'G'}) {
                const std::string format = "%" + flags + size + letter;
                if (flags.find('#') != std::string::npos && (letter == 'g' || letter == 'G')) {
                    EXPECT_THROW(String::SprintfFormat(format.c_str(), 1.5), zel::AssertionError);
                    continue;
                }
                for (const double value : {0.0, -0.0, 1.0, 2.5, 0.1, -12.34567, 99999.5, 1e-5, 123456789.0, 1e22,
                                           5e-324, std::numeric_limits<double>::infinity()}) {
                    expectAsTheCLibrary(format, value);
                }
            }
        }
    }
}

TEST(SprintfFormat, FormatsTextsAsTheCLibraryDoes) {
    for (const char* const format : {"%s", "%10s", "%-10s|", "%.2s", "%6.2s", "%.9s", "%.s"}) {
        expectAsTheCLibrary(format, "abcd");
    }
    for (const char* const format : {"%c", "%4c", "%-4c|"}) {
        expectAsTheCLibrary(format, 'x');
    }
    expectAsTheCLibrary("100%% %d%%", 7);
    expectAsTheCLibrary("%*d|%-*d|%.*f|%*s", 6, 42, 6, 42, 2, 1.2345, -6, "ab");
    expectAsTheCLibrary("%.*d|%.*f", -1, 42, -1, 1.5);
}

TEST(SprintfFormat, GivesTheseTexts) {
    const std::uint8_t byte = 0xB;
    const std::uint64_t wide = 0x178BFBFFULL << 32;
    const struct {
        String text;
        const char* expected;
    } cases[] = {
        {String::SprintfFormat("%016I64Xh", wide), "178BFBFF00000000h"},
        {String::SprintfFormat("%u %X", wide, wide), "1696726757270355968 178BFBFF00000000"}, // no prefix at all
        {String::SprintfFormat("%I64d %llX %lX", -1, -1, -1), "-1 FFFFFFFF FFFFFFFF"},        // 32 bits stay 32 bits
        {String::SprintfFormat("%I32u%zu%ju%td", 1u, 2u, 3u, 4), "1234"},
        {String::SprintfFormat("%2Xh|%02X|%u", byte, byte, byte), " Bh|0B|11"},
        {String::SprintfFormat("%d", std::numeric_limits<std::uint32_t>::max()), "-1"},
        {String::SprintfFormat("%u %d", true, std::int8_t{-5}), "1 -5"},
        {String::SprintfFormat("%1.3f", 2.0f), "2.000"},
        {String::SprintfFormat("%+u % X %+#x", 1, 2, 3), "1 2 0x3"}, // signs are for signed conversions
        {String::SprintfFormat("[%.0o][%#.0o][%+.0d]", 0, 0, 0), "[][0][+]"},
        {String::SprintfFormat("%-13u|%10p", 12, static_cast<const void*>(nullptr)), "12           |     (nil)"},
        {String::SprintfFormat("no arguments"), "no arguments"},
        {String::SprintfFormat("%u", 1, 2, 3), "1"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.text, c.expected);
    }
}

TEST(SprintfFormat, KeepsUnits) {
    const String wide(u"\u03BC\u2026");
    EXPECT_EQ(String::SprintfFormat("[%4s]", wide).units(), u"[  \u03BC\u2026]");
    EXPECT_EQ(String::SprintfFormat("Intel\xAE %s", "\xAE").units(), u"Intel\u00AE \u00AE");
    EXPECT_EQ(String::SprintfFormat("%s", std::string("a\0b", 3)).size(), 3u);
    EXPECT_EQ(String::SprintfFormat("%c%c", '\xAE', u'\u2026').units(), u"\u00AE\u2026");
    const char* const none = nullptr;
    EXPECT_EQ(String::SprintfFormat("%8s", none), "  (null)");
}

TEST(SprintfFormat, RaisesTheAssertionForWhatDoesNotMatch) {
    const auto expectRaised = [](const char* format, auto... arguments) {
        try {
            const String text = String::SprintfFormat(format, arguments...);
            ADD_FAILURE() << format << " gave " << text;
        } catch (const zel::AssertionError& error) {
            EXPECT_EQ(error.expression(), "format matches arguments") << format;
        }
    };
    for (const char* const format : {"%d", "%s", "%*d", "%", "%5", "%-", "%.", "%ll", "%I64", "%I6", "%5%"}) {
        expectRaised(format);
    }
    for (const char* const format : {"%s", "%f", "%p", "%n", "%y", "%d%d", "%*d", "%1$d", "%I16d", "%65536d",
                                     "%.65536d", "%99999999999999999999d", "% ", "%a", "%*5d"}) {
        expectRaised(format, 1);
    }
    for (const char* const format : {"%d", "%c", "%f", "%p", "%*s"}) {
        expectRaised(format, "text");
    }
    for (const char* const format : {"%d", "%s", "%X", "%c"}) {
        expectRaised(format, 1.5);
    }
    expectRaised("%*d", std::numeric_limits<std::int64_t>::min(), 1);
}

} // namespace
