#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/LogCapture.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::IntelMachine;
using testing_support::IntelProcessor;
using testing_support::LogCapture;

namespace libQuarrow::cpu {

// The private operations of a machine's processor.
struct x86_intel_info_access : IntelMachine {
    using IntelMachine::IntelMachine;

    bool platformId(std::uint64_t& value, bool refresh) const { return info.getPlatformId(value, refresh); }
    bool inList(const char* list, unsigned int rule) const {
        return info.processorNumberInList(list, static_cast<x86_intel_info::MatchRule>(rule));
    }
    bool wolfdale(std::uint32_t& celsius) const { return info.getWolfdale_TCCActivationTemp(celsius); }
    bool atom(std::uint32_t& celsius) const { return info.getAtom_TCCActivationTemp(celsius); }
    bool maxTurbo(std::uint64_t busClock, std::uint32_t& ratio, std::uint64_t& speed) const {
        return info.getMaxTurboRatioAndSpeed(busClock, ratio, speed);
    }
};

namespace {

constexpr unsigned int exact = 0;
constexpr unsigned int prefix = 1;
constexpr unsigned int noRule = 2;

TEST(x86_intel_info_internal, keeps_the_platform_id_until_it_is_refreshed) {
    x86_intel_info_access intel(IntelProcessor(0x306C3).msr(0x17, 5));
    const auto answer = [&intel](bool readable, bool refresh) {
        intel.machine.faults().failingMsrs.clear();
        if (!readable) {
            intel.machine.faults().failingMsrs = {0x17};
        }
        std::uint64_t value = 9;
        const bool known = intel.platformId(value, refresh);
        return std::pair(known, value);
    };
    EXPECT_EQ(answer(false, false), std::pair(false, std::uint64_t{9}));
    EXPECT_EQ(answer(true, false), std::pair(true, std::uint64_t{5})); // a failure is not kept
    ASSERT_TRUE(intel.cpu.callWRMSR(0x17, 6));
    EXPECT_EQ(answer(true, false), std::pair(true, std::uint64_t{5}));
    EXPECT_EQ(answer(true, true), std::pair(true, std::uint64_t{6}));
    EXPECT_EQ(answer(false, true), std::pair(true, std::uint64_t{6})); // what was read before still holds
}

TEST(x86_intel_info_internal, looks_for_the_processor_number_in_lists) {
    const x86_intel_info_access e8400(IntelProcessor(0x10676, "CPU E8400 @ 3.00GHz"));
    const x86_intel_info_access t9400(IntelProcessor(0x10676, "CPU T9400 @ 2.53GHz"));
    const LogCapture log;
    const struct {
        const char* list;
        unsigned int rule;
        bool matchesE8400, matchesT9400;
    } cases[] = {
        {";E8;E7;Q8;Q9", prefix, true, false}, {";E8;E7;Q8;Q9", exact, false, false},
        {",E8400,T9400", exact, true, true},   {";84;9400", prefix, false, false},
        {";E8400X", prefix, false, false},     {"ET9400", exact, false, true}, // the first character separates
    };
    for (const auto& test : cases) {
        EXPECT_EQ(e8400.inList(test.list, test.rule), test.matchesE8400);
        EXPECT_EQ(t9400.inList(test.list, test.rule), test.matchesT9400);
    }
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(x86_intel_info_internal, reports_misuse) {
    const x86_intel_info_access haswell(IntelProcessor(0x306C3));
    const LogCapture log(zel::LogFailure);
    std::uint32_t celsius[] = {7, 7};
    EXPECT_FALSE(haswell.inList("", exact));
    EXPECT_FALSE(haswell.inList(";", exact));
    EXPECT_FALSE(haswell.inList(";A;B", noRule));
    EXPECT_FALSE(haswell.wolfdale(celsius[0]));
    EXPECT_FALSE(haswell.atom(celsius[1]));
    EXPECT_THAT(celsius, ElementsAre(0, 0));
    EXPECT_THAT(log.messages(),
                ElementsAre("4 DEFECT.GENERIC: Improper list format", "4 DEFECT.GENERIC: Improper list format",
                            "4 DEFECT.GENERIC: Unknown match rule",
                            "4 DEFECT.GENERIC: Improper function given processor type",
                            "4 libQuarrow.cpu_x86.x86_intel_info: Improper function given processor type"));
}

TEST(x86_intel_info_internal, finds_the_highest_turbo_ratio) {
    const std::string header = "1 Cores Active:  Max Ratio:  Max Speed:";
    const struct {
        std::uint32_t leaf6;
        std::uint64_t ratios;
        std::uint32_t highest;
        std::vector<std::string> messages;
    } cases[] = {
        {2,
         0x1F20212223242526,
         38,
         {header, "1 1              38          3800.000 MHz", "1 2              37          3700.000 MHz",
          "1 3              36          3600.000 MHz", "1 4              35          3500.000 MHz"}},
        // The highest is not the first; what has no ratio has no row.
        {2,
         0x0000000020002100,
         33,
         {header, "1 2              33          3300.000 MHz", "1 4              32          3200.000 MHz"}},
        {2, 0, 0, {header}},
        {0xFFFFFFFD, 0x26, 0, {"2 Intel Turbo Boost not supported on CPU"}},
    };
    for (const auto& test : cases) {
        const x86_intel_info_access skylake(
            IntelProcessor(0x506E3).leaf(6, {test.leaf6, 0, 0, 0}).counts(4, 8).msr(0x1AD, test.ratios));
        const LogCapture log;
        std::uint32_t ratio = 7;
        std::uint64_t speed = 1; // stays where there is no ratio
        EXPECT_EQ(skylake.maxTurbo(100000000, ratio, speed), test.highest != 0);
        EXPECT_EQ(ratio, test.highest);
        EXPECT_EQ(speed, test.highest != 0 ? test.highest * std::uint64_t{100000000} : 1);
        std::vector<std::string> expected = test.messages;
        for (std::string& message : expected) {
            message.insert(2, "libQuarrow.cpu_x86.x86_intel_info: ");
        }
        EXPECT_EQ(log.messages(), expected);
    }
}

} // namespace
} // namespace libQuarrow::cpu
