#include <libQuarrow/cpu/x86/x86_cpu_location.h>

#include <gtest/gtest.h>

using libQuarrow::cpu::x86_cpu_location;

namespace {

constexpr std::uint32_t any = x86_cpu_location::unspecified;

TEST(CpuLocation, Text) {
    const struct {
        x86_cpu_location location;
        const char* brief;
        const char* full;
    } cases[] = {
        {{0, 0, 1, 2, 0}, "CPU:0:0:1:2:0", "CPU:0:0:1:2:0"},
        {{0, 0, 1, any, any}, "CPU:0:0:1", "CPU:0:0:1:*:*"},
        {{any, 0, 1, 2, 3}, "CPU:*:0:1:2:3", "CPU:*:0:1:2:3"},
        {{any, any, any, any, any}, "CPU", "CPU:*:*:*:*:*"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.location.toString(false), c.brief);
        EXPECT_EQ(c.location.toString(true), c.full);
        for (const char* text : {c.brief, c.full}) {
            x86_cpu_location read(9, 9, 9, 9, 9);
            EXPECT_TRUE(read.fromString(text) && read == c.location) << text;
        }
    }
    x86_cpu_location lax;
    EXPECT_TRUE(lax.fromString(":CPU::x:7z") && lax == x86_cpu_location(0, 7, any, any, any));
}

TEST(CpuLocation, TextThatIsNone) {
    for (const char* text : {"", ":", "CP:1:2", "cpu:1", "1:2:3", "CPU:1:2:3:4:5:6"}) {
        x86_cpu_location location(9, 8, 7, 6, 5);
        EXPECT_TRUE(!location.fromString(text) && location == x86_cpu_location(9, 8, 7, 6, 5)) << text;
    }
}

TEST(CpuLocation, EqualsByDepth) {
    const x86_cpu_location a(0, 0, 1, 2, 3);
    const struct {
        x86_cpu_location other;
        std::uint32_t depth;
        bool equal;
    } cases[] = {
        {{0, 0, 1, 2, 3}, 0x1F, true},
        {{0, 0, 1, 2, 4}, 0x1F, false},
        {{0, 0, 1, 2, 4}, 0x0F, true},
        {{5, 5, 1, 2, 3}, 0x1C, true},
        {{5, 5, 1, any, 3}, 0x1C, false},
        {{5, 5, 1, any, 3}, 0x8000001C, true},
        {{5, 5, any, any, any}, 0x8000001C, true},
        {{0, 0, 2, any, 3}, 0x8000001C, false},
        {{9, 9, 9, 9, 9}, 0x80000000, true},
        {{0, 0, 1, 2, 3}, 0, false}, // nothing to compare is no match, on purpose
    };
    for (const auto& c : cases) {
        EXPECT_EQ(a.equals(c.other, c.depth), c.equal) << std::hex << c.depth;
        EXPECT_EQ(c.other.equals(a, c.depth), c.equal) << std::hex << c.depth;
    }
}

TEST(CpuLocation, OrderedFromTheOutside) {
    const x86_cpu_location ascending[] = {
        {0, 0, 0, 0, 1}, {0, 0, 0, 1, 0}, {0, 0, 1, 0, 0}, {0, 1, 0, 0, 0}, {1, 0, 0, 0, 0}};
    for (std::size_t i = 1; i < 5; ++i) {
        EXPECT_TRUE(ascending[i - 1] < ascending[i] && !(ascending[i] < ascending[i - 1]));
    }
}

} // namespace
