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

TEST(x86_intel_info_internal, keeps_the_platform_id_until_it_is_refreshed) {
    x86_intel_info_access intel(IntelProcessor(0x306C3).msr(0x17, 5));
    std::uint64_t value = 9;
    intel.machine.faults().failingMsrs = {0x17};
    EXPECT_FALSE(intel.platformId(value, false));
    EXPECT_EQ(value, 9u);
    intel.machine.faults().failingMsrs.clear();
    EXPECT_TRUE(intel.platformId(value, false)); // a failure is not kept
    EXPECT_EQ(value, 5u);

    ASSERT_TRUE(intel.cpu.callWRMSR(0x17, 6));
    EXPECT_TRUE(intel.platformId(value, false));
    EXPECT_EQ(value, 5u);
    EXPECT_TRUE(intel.platformId(value, true));
    EXPECT_EQ(value, 6u);
    intel.machine.faults().failingMsrs = {0x17};
    value = 9;
    EXPECT_TRUE(intel.platformId(value, true)); // what was read before still holds
    EXPECT_EQ(value, 6u);
}

TEST(x86_intel_info_internal, looks_for_the_processor_number_in_lists) {
    struct Case {
        const char* list;
        unsigned int rule;
        bool e8400; // whether the number E8400 matches, and T9400
        bool t9400;
    };
    const Case cases[] = {
        {";E8;E7;Q8;Q9", prefix, true, false}, {";E8;E7;Q8;Q9", exact, false, false},
        {",E8400,T9400", exact, true, true},   {";E8400", exact, true, false},
        {";84;9400", prefix, false, false},    {";E8400X", prefix, false, false},
        {"E8400", exact, false, false}, // the first character separates: the one entry is 8400
        {"ET9400", exact, false, true},
    };
    const x86_intel_info_access e8400(IntelProcessor(0x10676, "CPU E8400 @ 3.00GHz"));
    const x86_intel_info_access t9400(IntelProcessor(0x10676, "CPU T9400 @ 2.53GHz"));
    const LogCapture log;
    for (const Case& expected : cases) {
        EXPECT_EQ(e8400.inList(expected.list, expected.rule), expected.e8400);
        EXPECT_EQ(t9400.inList(expected.list, expected.rule), expected.t9400);
    }
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(x86_intel_info_internal, reports_misuse) {
    const x86_intel_info_access haswell(IntelProcessor(0x306C3));
    const LogCapture log(zel::LogFailure);
    std::uint32_t celsius = 7;
    EXPECT_FALSE(haswell.inList("", exact));
    EXPECT_FALSE(haswell.inList(";", exact));
    EXPECT_FALSE(haswell.inList(";A;B", 2));
    EXPECT_FALSE(haswell.wolfdale(celsius));
    EXPECT_EQ(celsius, 0u);
    celsius = 7;
    EXPECT_FALSE(haswell.atom(celsius));
    EXPECT_EQ(celsius, 0u);
    EXPECT_THAT(log.messages(),
                ElementsAre("4 DEFECT.GENERIC: Improper list format", "4 DEFECT.GENERIC: Improper list format",
                            "4 DEFECT.GENERIC: Unknown match rule",
                            "4 DEFECT.GENERIC: Improper function given processor type",
                            "4 libQuarrow.cpu_x86.x86_intel_info: Improper function given processor type"));
}

TEST(x86_intel_info_internal, finds_the_highest_turbo_ratio) {
    struct Case {
        std::uint64_t register0;
        bool found;
        std::uint32_t ratio;
        std::uint64_t speed;
        std::vector<std::string> rows;
    };
    // clang-format off
    const Case cases[] = {
        {0x1F20212223242526, true, 38, 3800000000,
         {"1              38          3800.000 MHz", "2              37          3700.000 MHz",
          "3              36          3600.000 MHz", "4              35          3500.000 MHz"}},
        // The highest is not the first; what has no ratio has no row.
        {0x0000000020002100, true, 33, 3300000000,
         {"2              33          3300.000 MHz", "4              32          3200.000 MHz"}},
        {0, false, 0, 1, {}},
    };
    // clang-format on
    for (const Case& expected : cases) {
        const x86_intel_info_access skylake(
            IntelProcessor(0x506E3).leaf(6, {2, 0, 0, 0}).counts(4, 8).msr(0x1AD, expected.register0));
        const LogCapture log;
        std::uint32_t ratio = 7;
        std::uint64_t speed = 1;
        EXPECT_EQ(skylake.maxTurbo(100000000, ratio, speed), expected.found);
        EXPECT_EQ(ratio, expected.ratio);
        EXPECT_EQ(speed, expected.speed);
        std::vector<std::string> messages = {"Cores Active:  Max Ratio:  Max Speed:"};
        messages.insert(messages.end(), expected.rows.begin(), expected.rows.end());
        for (std::string& message : messages) {
            message = "1 libQuarrow.cpu_x86.x86_intel_info: " + message;
        }
        EXPECT_EQ(log.messages(), messages);
    }
}

} // namespace
} // namespace libQuarrow::cpu
