// The parts that an Intel processor's object is made of, over literal leaves and registers.

#include <libQuarrow/cpu/x86/decode/x86_identification.h>
#include <libQuarrow/cpu/x86/intel/IntelIdentity.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_thermal.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_turbo.h>

#include <gmock/gmock.h>
#include <tests/support/LiteralReader.h>
#include <tests/support/LogCapture.h>

using namespace libQuarrow::cpu;
using testing::ElementsAre;
using testing_support::LogCapture;
using Msrs = std::map<std::uint32_t, std::uint64_t>;

namespace {

// `msrs` must outlive it.
MsrReader reading(const Msrs& msrs) {
    return [&msrs](std::uint32_t msr, std::uint64_t& value) {
        const auto found = msrs.find(msr);
        value = found != msrs.end() ? found->second : value;
        return found != msrs.end();
    };
}

IntelIdentity identityOf(std::uint32_t signature, const char* brand = "") {
    LiteralReader cpuid("GenuineIntel", 1, 0, {{1, 0, {signature, 0, 0, 0}}});
    x86_cpu_signature decoded;
    EXPECT_TRUE(decodeSignature(cpuid, decoded));
    return IntelIdentity(decoded, brand, [](std::uint32_t, std::uint64_t&) { return false; });
}

TEST(IntelPlatformId, is_kept_until_it_is_refreshed) {
    const struct {
        Msrs msrs;
        bool refresh;
        std::uint64_t answer; // 9: none
    } steps[] = {
        {{}, false, 9},          {{{0x17, 5}}, false, 5},                // a failure is not kept
        {{{0x17, 6}}, false, 5}, {{{0x17, 6}}, true, 6},  {{}, true, 6}, // what was read before still holds
    };
    IntelPlatformId id;
    for (const auto& step : steps) {
        EXPECT_EQ(id.get(reading(step.msrs), step.refresh).value_or(9), step.answer);
    }
}

TEST(IntelName, is_looked_for_in_lists) {
    constexpr auto exact = IntelNumberMatch::Exact;
    constexpr auto prefix = IntelNumberMatch::Prefix;
    const LogCapture log;
    const struct {
        const char* list;
        IntelNumberMatch rule;
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
        {";A;B", static_cast<IntelNumberMatch>(2), false, "Unknown match rule"},
    };
    std::vector<std::string> messages;
    for (const auto& test : cases) {
        EXPECT_EQ(isIntelNumberInList("E8400", test.list, test.rule), test.found) << test.list;
        if (test.message != nullptr) {
            messages.push_back(std::string("4 DEFECT.GENERIC: ") + test.message);
        }
    }
    EXPECT_EQ(log.messages(), messages);
}

TEST(IntelThermal, tells_no_temperature_of_another_class) {
    const IntelIdentity haswell = identityOf(0x306C3);
    const LogCapture log;
    std::uint32_t celsius[] = {7, 7};
    EXPECT_FALSE(intelWolfdaleTccTemperature(haswell, celsius[0]) || intelAtomTccTemperature(haswell, celsius[1]));
    EXPECT_THAT(celsius, ElementsAre(0, 0));
    const std::string atom = "libQuarrow.cpu_x86.x86_intel_info: ";
    const std::string traced = " getAtom_TCCActivationTemp (cpu/x86/x86_intel_info)";
    EXPECT_THAT(log.messages(),
                ElementsAre("4 DEFECT.GENERIC: Improper function given processor type", "1 " + atom + "Enter" + traced,
                            "4 " + atom + "Improper function given processor type", "1 " + atom + "Leave" + traced));
}

TEST(IntelTurbo, finds_the_highest_ratio) {
    const std::string header = "1 Cores Active:  Max Ratio:  Max Speed:";
    const std::string first = "1 1              33          3300.000 MHz";
    const std::string second = "1 2              32          3200.000 MHz";
    const struct {
        std::uint32_t signature, leaf6;
        Msrs msrs;
        std::uint32_t highest;
        std::vector<std::string> messages;
    } cases[] = {
        {0x506E3, 2, {{0x1AD, 0x27272727'00002021}}, 33, {header, first, second}}, // four cores
        // The highest is not the first; what has no ratio has no row.
        {0x506E3, 2, {{0x1AD, 0x00210000}}, 33, {header, "1 3              33          3300.000 MHz"}},
        {0x506E3, 2, {{0x1AD, 0}}, 0, {header}},
        {0x506E3, 2, {}, 0, {}},              // no such register
        {0x30673, 2, {{0x1AD, 0x21}}, 0, {}}, // no class that has it
        {0x506E3, 0xFFFFFFFD, {{0x1AD, 0x21}}, 0, {"2 Intel Turbo Boost not supported on CPU"}},
    };
    for (const auto& test : cases) {
        const IntelIdentity intel = identityOf(test.signature);
        LiteralReader cpuid("GenuineIntel", 6, 0, {{6, 0, {test.leaf6, 0, 0, 0}}});
        const LogCapture log;
        std::uint32_t ratio = 7;
        std::uint64_t speed = 1; // stays where there is no ratio
        EXPECT_EQ(findIntelMaxTurbo(intel, 4, cpuid, reading(test.msrs), 100000000, ratio, speed), test.highest != 0);
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
