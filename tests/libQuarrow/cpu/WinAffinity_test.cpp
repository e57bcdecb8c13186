#include <libQuarrow/cpu/WinAffinity.h>

#include <tests/support/AmdProcessor.h>

#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

namespace libQuarrow::cpu {
namespace {

using Groups = std::vector<GroupAffinity>;

WinAffinity parsed(const char* text) {
    return WinAffinity::fromString(text).value();
}

TEST(WinAffinity, HasOneNormalForm) {
    const struct {
        Groups given;
        const char* normal;
        std::uint32_t count;
        const char* text;
    } cases[] = {
        {{}, "", 0, "0:0000000000000000h"},
        {{{3, 0}, {0, 0}, {1, 0}}, "", 0, "0:0000000000000000h"},
        {{{0, 0xF}}, "0:f", 4, "0:000000000000000Fh"},
        {{{1, 3}, {0, 1}, {1, 4}, {2, 0}}, "0:1 1:7", 4, "0:0000000000000001h/1:0000000000000007h"},
        {{{1, 3}, {0, 0xFFFF}}, "0:ffff 1:3", 18, "0:000000000000FFFFh/1:0000000000000003h"},
        {{{2, 1ull << 63}}, "2:8000000000000000", 1, "2:8000000000000000h"},
        {{{65535, ~0ull}, {65535, 1}}, "65535:ffffffffffffffff", 64, "65535:FFFFFFFFFFFFFFFFh"},
    };
    for (const auto& test : cases) {
        const WinAffinity affinity(test.given);
        EXPECT_EQ(brief(affinity), test.normal);
        EXPECT_EQ(affinity.logicalCpuCount(), test.count) << test.text;
        EXPECT_EQ(static_cast<bool>(affinity), test.count != 0) << test.text;
        EXPECT_EQ(affinity.toString(), test.text);
        EXPECT_EQ(parsed(test.text), affinity);
    }
    EXPECT_EQ(WinAffinity(), WinAffinity(0));
}

TEST(WinAffinity, IsJoinedAndIntersectedPerGroup) {
    const struct {
        const char *a, *b, *either, *both;
    } cases[] = {
        {"0:Fh", "0:3h/1:1h", "0:f 1:1", "0:3"},
        {"0:Fh", "1:Fh", "0:f 1:f", ""},
        {"0:1h/2:6h", "2:3h/0:2h", "0:3 2:7", "2:2"},
        {"0:0h", "7:1h", "7:1", ""},
    };
    for (const auto& test : cases) {
        WinAffinity a = parsed(test.a);
        const WinAffinity b = parsed(test.b);
        EXPECT_EQ(brief(a | b), test.either);
        EXPECT_EQ(brief(b | a), test.either);
        EXPECT_EQ(brief(a & b), test.both);
        EXPECT_EQ(brief(b & a), test.both);
        EXPECT_EQ(brief(a |= b), test.either);
        EXPECT_EQ(a &= b, b);
    }
}

TEST(WinAffinity, SplitsInAscendingOrder) {
    const auto parts = [](WinAffinity::SplitType type) {
        std::string all;
        for (const WinAffinity& part : WinAffinity({{1, 1}, {0, 0xF}}).split(type)) {
            all += brief(part) + ", ";
        }
        return all;
    };
    EXPECT_EQ(parts(WinAffinity::PerGroup), "0:f, 1:1, ");
    EXPECT_EQ(parts(WinAffinity::PerLogicalCpu), "0:1, 0:2, 0:4, 0:8, 1:1, ");
    EXPECT_EQ(parts(static_cast<WinAffinity::SplitType>(2)), "");
}

TEST(WinAffinity, NumbersASingleProcessorAcrossTheSystem) {
    const struct {
        const char* affinity;
        AffinityGroups system;
        boost::optional<unsigned int> number;
    } cases[] = {
        {"0:8h", boost::none, 3}, // group 0 asks nobody
        {"0:8000000000000000h", boost::none, 63},
        {"0:3h", Groups{{0, 0xF}}, boost::none},
        {"0:0h", Groups{{0, 0xF}}, boost::none},
        {"0:1h/1:1h", Groups{{0, 0xF}}, boost::none},
        {"1:1h", boost::none, boost::none},
        {"1:1h", Groups{{0, 0xFFF}}, 12},
        {"1:1h", Groups{{0, 0xF0F}}, 12}, // holes use up numbers
        {"1:4h", Groups{{0, 0}, {1, 0xF}}, 2},
        {"3:1h", Groups{{0, 0xF}, {1, ~0ull}, {3, 1}, {2, 1}}, 68}, // ends at the first group that is not earlier
        {"1:1h", Groups{{0, 0x0F}, {0, 0xF0}, {1, 1}}, 12},         // listed per package, counted per listing
    };
    testing_support::CurrentMachine machine({});
    for (const auto& test : cases) {
        machine.counting.systemInstead = test.system;
        EXPECT_EQ(parsed(test.affinity).getLogicalCpuNumber(), test.number) << test.affinity;
    }
}

TEST(WinAffinity, ReadsItsTextAndNothingElse) {
    EXPECT_EQ(brief(parsed("0:1/0:2")), "0:3");
    EXPECT_EQ(brief(parsed("1:0x10/0:10")), "0:a 1:10");
    EXPECT_EQ(brief(parsed("0:0000000000000000h")), ""); // an empty value, yet a value
    for (const char* text : {"", "0", "/", ":", "0:1/", "0:1//1:1", "0:1:2", "0:x", "x:1", "-1:1", "65536:1", "0:h",
                             "0:1FFFFFFFFFFFFFFFFh"}) {
        EXPECT_EQ(brief(WinAffinity::fromString(text)), "none") << text;
    }
}

TEST(WinAffinity, ReadsAndSetsThroughTheBackendOfTheMachine) {
    testing_support::CurrentMachine machine(std::vector(3, testing_support::AmdProcessor(0x100F42)));
    machine.faults().threadAffinityUnreadable = true;
    machine.faults().unpinnable = {0};
    machine.counting.systemInstead = Groups{{1, 1}, {0, 3}, {0, 4}};
    EXPECT_EQ(brief(WinAffinity::systemAffinity()), "0:7 1:1");
    EXPECT_EQ(brief(WinAffinity::processAffinity()), "0:7");
    EXPECT_EQ(brief(WinAffinity::threadAffinity()), "none");

    const unsigned int before = machine.counts().affinityBackends;
    const WinAffinity one(1);
    const WinAffinity copy = one;
    EXPECT_EQ(machine.counts().affinityBackends, before + 1);
    EXPECT_FALSE(copy.setThreadAffinity());
    EXPECT_TRUE(WinAffinity(2).setProcessAffinity());
    EXPECT_EQ(machine.counts().affinitySets, (std::vector<std::string>{"thread 0:1", "process 0:2"}));

    machine.faults().noAffinityBackend = true;
    const WinAffinity without({{1, 1}});
    EXPECT_FALSE(without.supportsCpuGroups() || without.setThreadAffinity() || without.setProcessAffinity());
    EXPECT_EQ(without.getLogicalCpuNumber(), boost::none);
    EXPECT_EQ(brief(WinAffinity::systemAffinity()), "none");
}

} // namespace
} // namespace libQuarrow::cpu
