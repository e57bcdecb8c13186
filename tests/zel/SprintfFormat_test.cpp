#include <zel/Assertion.h>
#include <zel/String.h>

#include <gmock/gmock.h>

#include <cstdio>
#include <limits>

namespace {

using zel::String;

template <class... Arguments>
void expectAsTheCLibrary(const std::string& format, Arguments... arguments) {
    char expected[2048];
    std::snprintf(expected, sizeof expected, format.c_str(), arguments...);
    EXPECT_EQ(String::SprintfFormat(format.c_str(), arguments...).toUtf8(), expected) << format;
}

// Flags and sizes before each of the letters: check(flags, size, letter).
template <class Check>
void forEachConversion(const std::string& letters, const Check& check) {
    for (const std::string flags : {"", "-", "0", "+", " ", "#", "-0", "+0", "#0", "-#", "+ ", "-+ #0"}) {
        for (const std::string size : {"", "1", "13", ".0", ".1", ".5", "8.3", "3.8", "30.16"}) {
            for (const char letter : letters) {
                check(flags, size, letter);
            }
        }
    }
}

TEST(SprintfFormat, FormatsNumbersAsTheCLibraryDoes) {
    forEachConversion("diuoxX", [](const std::string& flags, const std::string& size, char letter) {
        // Where MinGW's own library is wrong; GivesTheseTexts has them.
        const bool isSigned = letter == 'd' || letter == 'i';
        if ((!isSigned && flags.find_first_of("+ ") != std::string::npos) || (letter == 'o' && size == ".0")) {
            return;
        }
        for (const int value : {0, 1, -1, 255, std::numeric_limits<int>::min()}) {
            for (const char* const length : {"", "hh", "h"}) {
                expectAsTheCLibrary("%" + flags + size + length + letter, value);
            }
        }
        for (const long long value : {0LL, -1LL, 0x123456789ABCDEFLL, std::numeric_limits<long long>::min()}) {
            expectAsTheCLibrary("%" + flags + size + "ll" + letter, value);
        }
    });
    forEachConversion("efgEFG", [](const std::string& flags, const std::string& size, char letter) {
        const std::string format = "%" + flags + size + letter;
        if (flags.find('#') != std::string::npos && (letter == 'g' || letter == 'G')) {
            EXPECT_THROW(String::SprintfFormat(format.c_str(), 1.5), zel::AssertionError);
            return;
        }
        for (const double value : {0.0, -0.0, 1.0, 2.5, 0.1, -12.34567, 99999.5, 1e-5, 123456789.0, 1e22, 5e-324,
                                   std::numeric_limits<double>::infinity()}) {
            expectAsTheCLibrary(format, value);
        }
    });
}

TEST(SprintfFormat, FormatsTextsAsTheCLibraryDoes) {
    for (const char* const format : {"%s", "%10s", "%-10s|", "%.2s", "%6.2s", "%.9s", "%.s"}) {
        expectAsTheCLibrary(format, "abcd");
    }
    expectAsTheCLibrary("%c%4c%-4c|", 'x', 'y', 'z');
    expectAsTheCLibrary("100%% %d%%", 7);
    expectAsTheCLibrary("%*d|%-*d|%.*f|%*s", 6, 42, 6, 42, 2, 1.2345, -6, "ab");
    expectAsTheCLibrary("%.*d|%.*f", -1, 42, -1, 1.5);
    expectAsTheCLibrary("%.450f|%.450f", 1e308, 5e-324);
}

TEST(SprintfFormat, GivesTheseTexts) {
    const std::uint8_t byte = 0xB;
    const std::uint64_t wide = 0x178BFBFFULL << 32;
    const char* const none = nullptr;
    const std::pair<String, String> cases[] = {
        {String::SprintfFormat("%016I64Xh", wide), "178BFBFF00000000h"},
        {String::SprintfFormat("%u %X", wide, wide), "1696726757270355968 178BFBFF00000000"}, // no prefix at all
        {String::SprintfFormat("%I64d %llX %lX", -1, -1, -1), "-1 FFFFFFFF FFFFFFFF"},        // 32 bits stay 32 bits
        {String::SprintfFormat("%I32u%zu%ju%td", 1u, 2u, 3u, 4), "1234"},
        {String::SprintfFormat("%2Xh|%02X|%u", byte, byte, byte), " Bh|0B|11"},
        {String::SprintfFormat("%d %u %d", ~0u, true, std::int8_t{-5}), "-1 1 -5"},
        {String::SprintfFormat("%+u % X %+#x", 1, 2, 3), "1 2 0x3"}, // signs are for signed conversions
        {String::SprintfFormat("[%.0o][%#.0o][%+.0d]", 0, 0, 0), "[][0][+]"},
        {String::SprintfFormat("%10p", static_cast<const void*>(none)), "     (nil)"},
        {String::SprintfFormat("no arguments"), "no arguments"},
        {String::SprintfFormat("%u", 1, 2, 3), "1"},
        {String::SprintfFormat("[%4s]", String(u"\u03BC\u2026")), String(u"[  \u03BC\u2026]")},
        {String::SprintfFormat("Intel\xAE %s", "\xAE"), String(u"Intel\u00AE \u00AE")},
        {String::SprintfFormat("%s", std::string("a\0b", 3)), std::string("a\0b", 3)},
        {String::SprintfFormat("%c%c", '\xAE', u'\u2026'), String(u"\u00AE\u2026")},
        {String::SprintfFormat("%8s", none), "  (null)"},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(text, expected);
    }
}

TEST(SprintfFormat, RaisesTheAssertionForWhatDoesNotMatch) {
    const auto expectRaised = [](std::initializer_list<const char*> formats, auto... arguments) {
        for (const char* const format : formats) {
            EXPECT_THAT([=] { String::SprintfFormat(format, arguments...); },
                        testing::Throws<zel::AssertionError>(
                            testing::Property(&zel::AssertionError::expression, "format matches arguments")))
                << format;
        }
    };
    expectRaised({"%d", "%s", "%*d", "%", "%5", "%-", "%.", "%ll", "%I64", "%I6", "%5%"});
    expectRaised({"%s", "%f", "%p", "%n", "%y", "%d%d", "%*d", "%1$d", "%I16d", "%65536d", "%.65536d",
                  "%99999999999999999999d", "% ", "%a", "%*5d"},
                 1);
    expectRaised({"%d", "%c", "%f", "%p", "%*s"}, "text");
    expectRaised({"%d", "%s", "%X", "%c", "%.451f"}, 1.5);
    expectRaised({"%*d"}, std::numeric_limits<std::int64_t>::min(), 1);
}

} // namespace
