#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>
#include <tests/support/IntelProcessor.h>

#include <map>
#include <utility>
#include <vector>

using boost::none;
using boost::optional;
using testing_support::IntelMachine;
using testing_support::IntelProcessor;

namespace {

constexpr std::uint64_t bit28 = 0x10000000;
constexpr std::uint64_t bit30 = 0x40000000;

TEST(x86_intel_limits, knows_the_temperature_at_which_the_thermal_control_circuit_acts) {
    struct Case {
        std::uint32_t signature;
        const char* brand;
        std::map<std::uint32_t, std::uint64_t> msrs;
        optional<std::uint32_t> celsius;
    };
    const Case cases[] = {
        // Core, and Merom from 0x6F4 on: bit 30 of MSR 0xEE.
        {0x6EC, "CPU T2600 @ 2.16GHz", {{0xEE, bit30}}, 85},
        {0x6EC, "CPU T2600 @ 2.16GHz", {}, none},
        {0x6F6, "CPU T7200 @ 2.00GHz", {{0xEE, bit30}}, 85},
        {0x6F2, "CPU T7200 @ 2.00GHz", {{0xEE, bit30}}, 100}, // too early for the register: the table
        // 45 nm Core 2: Penryn by register, Wolfdale by number, none of both by table.
        {0x10676, "CPU P8400 @ 2.26GHz", {{0x17, bit28}, {0xEE, bit30}}, 90},
        {0x10676, "CPU P8400 @ 2.26GHz", {{0x17, bit28}, {0xEE, 0}}, 105},
        {0x10676, "CPU E8400 @ 3.00GHz", {{0x17, 0}}, 100},
        {0x10677, "CPU QX9650 @ 3.00GHz", {{0x17, 0}}, 95},
        {0x10677, "CPU QX9770 @ 3.20GHz", {{0x17, 0}}, 85},
        {0x1067A, "CPU E5440 @ 2.83GHz", {{0x17, 0}}, 95}, // in no list: the table
        {0x1067A, "CPU X3350 @ 2.66GHz", {{0x17, 0}}, none},
        // Nehalem and later, Silvermont: bits 23 to 16 of MSR 0x1A2.
        {0x306C3, "", {{0x1A2, 0xFFFFFFFF00640000}}, 100},
        {0x206A7, "", {{0x1A2, 0xFF00FFFF}}, 0}, // a register that says 0 is believed
        {0x30673, "", {{0x1A2, 0x005A0000}}, 90},
        // Atom: whole numbers.
        {0x106C2, "CPU N270 @ 1.60GHz", {}, 90},
        {0x106C2, "CPU N450 @ 1.66GHz", {}, 100},
        {0x106C2, "CPU Z520 @ 1.33GHz", {}, 90},
        {0x106C2, "CPU Z520PT @ 1.33GHz", {}, 110},
        {0x30651, "CPU Z2760 @ 1.80GHz", {}, 90},
        // 65 nm desktop parts, by signature, frequency and brand; of several rows that fit the last one decides.
        {0x6FB, "Core(TM)2 Duo CPU E6750 @ 2.66GHz", {}, 85},
        {0x6FB, "Core(TM)2 Duo CPU E6750 @ 2.67GHz", {}, none},
        {0x6FB, "Core(TM)2 Duo CPUE6750 @ 2.66GHz", {}, none}, // the blank before the number counts
        {0x6F5, "Core(TM)2 CPU 6700 @ 2.66GHz", {}, 100},
        {0x10661, "Celeron(R) CPU 440 @ 2.00GHz", {}, 85},
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << expected.signature << " " << expected.brand);
        IntelProcessor processor(expected.signature, expected.brand);
        processor.recorded.msrs = expected.msrs;
        const IntelMachine intel(processor);
        std::uint32_t celsius = 7;
        EXPECT_EQ(intel.info.getTCCActivationTemperature(celsius), expected.celsius.has_value());
        EXPECT_EQ(celsius, expected.celsius.value_or(0));
    }
}

using Ratios = std::vector<std::pair<std::uint32_t, std::uint32_t>>; // active cores, ratio
using Msrs = std::map<std::uint32_t, std::uint64_t>;

// Ratios 1, 2, 3 ... of a register's eight bytes, the first of them `first`.
std::uint64_t rising(std::uint64_t first) {
    return 0x0706050403020100 + first * 0x0101010101010101;
}

TEST(x86_intel_limits, reads_the_turbo_ratio_of_each_number_of_active_cores) {
    const Msrs all = {{0x1AD, rising(1)}, {0x1AE, rising(9)}, {0x1AF, rising(17)}, {0x1B0, rising(25)}};
    const auto upTo = [](std::uint32_t cores) {
        Ratios ratios;
        for (std::uint32_t n = 1; n <= cores; ++n) {
            ratios.emplace_back(n, n);
        }
        return ratios;
    };
    const struct {
        const char* what;
        std::uint32_t signature, cores;
        Msrs msrs;
        Ratios ratios;
    } cases[] = {
        {"Haswell: as many as there are cores", 0x306C3, 2, all, upTo(2)},
        {"Nehalem keeps six", 0x106A5, 8, all, upTo(6)},
        {"Sandy Bridge: eight", 0x206A7, 12, all, upTo(8)},
        {"Ivy Bridge: one register", 0x306A9, 12, all, upTo(8)},
        {"Ivy Bridge server die: two", 0x306E4, 12, all, upTo(12)},
        {"Ivy Bridge server die: fifteen", 0x306E4, 20, all, upTo(15)},
        {"Broadwell client die keeps six", 0x306D4, 8, all, upTo(6)},
        {"Broadwell server die: four registers", 0x406F1, 32, all, upTo(24)},
        {"a later register that cannot be read", 0x406F1, 10, {{0x1AD, rising(1)}}, upTo(8)},
        {"Kaby Lake: four", 0x906E9, 6, all, upTo(4)},
        {"0 is no ratio", 0x506E3, 4, {{0x1AD, 0x1F00002600}}, {{2, 0x26}}},
        {"nothing but 0", 0x506E3, 4, {{0x1AD, 0xFF00000000}}, {}},
        {"no first register", 0x406F1, 4, {{0x1AE, rising(1)}}, {}},
        {"no class that has them", 0x30673, 4, all, {}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        IntelProcessor processor = IntelProcessor(test.signature).leaf(6, {2, 0, 0, 0}).counts(test.cores, test.cores);
        processor.recorded.msrs = test.msrs;
        const IntelMachine intel(processor);
        zel::Array<libQuarrow::cpu::IntelTurboRatioLimit> limits{{99, 99}};
        EXPECT_EQ(intel.info.getTurboRatioLimits(limits), !test.ratios.empty());
        Ratios ratios;
        for (const auto& limit : limits) {
            ratios.emplace_back(limit.activeCores, limit.ratio);
        }
        EXPECT_EQ(ratios, test.ratios);
    }
}

} // namespace
