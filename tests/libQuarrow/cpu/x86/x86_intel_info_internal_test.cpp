#include <gmock/gmock.h>
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
    const struct {
        std::uint64_t stored;
        bool readable, refresh;
        std::uint64_t answer; // 9: none
    } steps[] = {
        {5, false, false, 9}, {5, true, false, 5},                      // a failure is not kept
        {6, true, false, 5},  {6, true, true, 6},  {7, false, true, 6}, // what was read before still holds
    };
    for (const auto& step : steps) {
        intel.faults().failingMsrs.clear();
        ASSERT_TRUE(intel.cpu.callWRMSR(0x17, step.stored));
        intel.faults().failingMsrs.insert(step.readable ? 0 : 0x17);
        std::uint64_t value = 9;
        EXPECT_EQ(intel.platformId(value, step.refresh), step.answer != 9);
        EXPECT_EQ(value, step.answer);
    }
}

TEST(x86_intel_info_internal, looks_for_the_processor_number_in_lists) {
    const x86_intel_info_access e8400(IntelProcessor(0x10676, "CPU E8400 @ 3.00GHz"));
    const LogCapture log;
    const struct {
        const char* list;
        unsigned int rule;
        bool found;
        const char* message = nullptr;
    } cases[] = {
        {";E7;E8;Q8;Q9", prefix, true},
        {";E7;E8;Q8;Q9", exact, false},
        {",T9400,E8400", exact, true},
        {";84;9400", prefix, false},
        {";E8400X", prefix, false},
        {";E", prefix, true},
        {"EE8400", exact, false}, // the first character separates: these are "" and 8400
        {"", exact, false, "Improper list format"},
        {";", exact, false, "Improper list format"},
        {";A;B", noRule, false, "Unknown match rule"},
    };
    std::vector<std::string> messages;
    for (const auto& test : cases) {
        EXPECT_EQ(e8400.inList(test.list, test.rule), test.found) << test.list;
        if (test.message != nullptr) {
            messages.push_back(std::string("4 DEFECT.GENERIC: ") + test.message);
        }
    }
    EXPECT_EQ(log.messages(), messages);
}

TEST(x86_intel_info_internal, tells_no_temperature_of_another_class) {
    const x86_intel_info_access haswell(IntelProcessor(0x306C3));
    const LogCapture log;
    std::uint32_t celsius[] = {7, 7};
    EXPECT_FALSE(haswell.wolfdale(celsius[0]) || haswell.atom(celsius[1]));
    EXPECT_THAT(celsius, ElementsAre(0, 0));
    const std::string atom = "libQuarrow.cpu_x86.x86_intel_info: ";
    const std::string traced = " getAtom_TCCActivationTemp (cpu/x86/x86_intel_info)";
    EXPECT_THAT(log.messages(),
                ElementsAre("4 DEFECT.GENERIC: Improper function given processor type", "1 " + atom + "Enter" + traced,
                            "4 " + atom + "Improper function given processor type", "1 " + atom + "Leave" + traced));
}

TEST(x86_intel_info_internal, finds_the_highest_turbo_ratio) {
    const auto skylake = [](std::uint32_t leaf6) {
        return IntelProcessor(0x506E3).leaf(6, {leaf6, 0, 0, 0}).counts(4, 8);
    };
    const std::string header = "1 Cores Active:  Max Ratio:  Max Speed:";
    const std::string first = "1 1              33          3300.000 MHz";
    const std::string second = "1 2              32          3200.000 MHz";
    const struct {
        IntelProcessor processor;
        std::uint32_t highest;
        std::vector<std::string> messages;
    } cases[] = {
        {skylake(2).msr(0x1AD, 0x27272727'00002021), 33, {header, first, second}}, // four cores
        // The highest is not the first; what has no ratio has no row.
        {skylake(2).msr(0x1AD, 0x00210000), 33, {header, "1 3              33          3300.000 MHz"}},
        {skylake(2).msr(0x1AD, 0), 0, {header}},
        {skylake(2), 0, {}},                                                     // no such register
        {IntelProcessor(0x30673).leaf(6, {2, 0, 0, 0}).msr(0x1AD, 0x21), 0, {}}, // no class that has it
        {skylake(0xFFFFFFFD).msr(0x1AD, 0x21), 0, {"2 Intel Turbo Boost not supported on CPU"}},
    };
    for (const auto& test : cases) {
        const x86_intel_info_access intel(test.processor);
        const LogCapture log;
        std::uint32_t ratio = 7;
        std::uint64_t speed = 1; // stays where there is no ratio
        EXPECT_EQ(intel.maxTurbo(100000000, ratio, speed), test.highest != 0);
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
