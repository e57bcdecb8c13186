#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <boost/optional/optional_io.hpp>
#include <gmock/gmock.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/LogCapture.h>

#include <map>
#include <vector>

using boost::none;
using boost::optional;
using libQuarrow::cpu::IntelTurboRatioLimit;
using testing::Contains;
using testing_support::IntelMachine;
using testing_support::IntelProcessor;
using testing_support::LogCapture;
using Msrs = std::map<std::uint32_t, std::uint64_t>;

namespace {

constexpr std::uint64_t bit27 = 0x08000000;
constexpr std::uint64_t bit28 = 0x10000000;
constexpr std::uint64_t bit30 = 0x40000000;
constexpr const char* wolfdale = "Core2Family | Wolfdale";

// What is known of a processor by its signature and name, MSR 0x17, and MSRs 0xEE and 0x1A2 for the temperature. The
// signatures are those of real parts unless said otherwise.
struct Identity {
    std::uint32_t signature;
    const char* brand;
    Msrs msrs; // another one cannot be read
    const char* types;
    const char* technology;
    const char* revision;
    optional<std::uint32_t> celsius = none; // at which the thermal control circuit acts
    optional<bool> mobile = none;
    optional<bool> serverDie = none;
    optional<bool> bit27Clear = none;
};

const Msrs desktop = {{0x17, 0}};
const Msrs mobileLow = {{0x17, bit28}, {0xEE, bit30}};
const Msrs mobileHigh = {{0x17, bit28}, {0xEE, 0}};
const Msrs bit27Low = {{0x17, bit27}, {0xEE, bit30}};

const Identity identities[] = {
    // 45 nm Core 2. The stepping goes by number, and E8400 has none; MSR 0x17 says whether it is Wolfdale or Penryn.
    // The temperature of Wolfdale goes by number, that of Penryn by MSR 0xEE; what has neither is looked up in the
    // table.
    {0x10676, "Core(TM)2 Duo CPU     E8400  @ 3.00GHz", desktop, wolfdale, "45 nm", "", 100, false, none, true},
    {0x10676, "CPU E8600 @ 3.33GHz", {}, "Core2Family", "", "E0"},
    {0x10677, "CPU QX9650 @ 3.00GHz", desktop, wolfdale, "45 nm", "C1", 95, false, none, true},
    {0x10677, "CPU QX9770 @ 3.20GHz", desktop, wolfdale, "45 nm", "C1", 85, false, none, true},
    {0x1067A, "CPU E5440 @ 2.83GHz", desktop, wolfdale, "45 nm", "E0", 95, false, none, true},
    {0x1067A, "CPU X3350 @ 2.66GHz", desktop, wolfdale, "45 nm", "", none, false, none, true},
    {0x1067A, "CPU QX9300 @ 2.53GHz", mobileLow, "Core2Family | Penryn", "45 nm", "E0", 90, true, none, true},
    {0x10676, "CPU P8400 @ 2.26GHz", mobileHigh, "Core2Family | Penryn", "45 nm", "M0", 105, true, none, true},
    {0x106D1, "CPU E7450 @ 2.40GHz", desktop, wolfdale, "45 nm", "", 100, false, none, true},
    // Not one of the signatures that go by number, although it looks like them.
    {0x1067B, "CPU QX9300 @ 2.53GHz", {}, "Core2Family", "", ""},
    // 65 nm Core 2: mobile by number. Without "@" there is no number. MSR 0xEE from stepping 4 on.
    {0x6F6, "CPU T7200 @ 2.00GHz", bit27Low, "Core2Family | Merom", "65 nm", "B2", 85, true, none, false},
    {0x6F6, "CPU T7200", {}, "Core2Family", "65 nm", "B2"},
    {0x6F4, "CPU T7200 @ 2.00GHz", {{0xEE, 0}}, "Core2Family | Merom", "65 nm", "", 100, true},
    {0x6F2, "CPU T7200 @ 2.00GHz", {{0xEE, bit30}}, "Core2Family | Merom", "65 nm", "L2", 100, true},
    // The others by signature, frequency and brand, blanks included; of several rows that fit the last one decides.
    {0x6FB, "Core(TM)2 Duo CPU E6750 @ 2.66GHz", {}, "Core2Family", "65 nm", "G0", 85},
    {0x6FB, "Core(TM)2 Duo CPU E6750 @ 2.67GHz", {}, "Core2Family", "65 nm", "G0"},
    {0x6FB, "Core(TM)2 Duo CPUE6750 @ 2.66GHz", {}, "Core2Family", "65 nm", "G0"},
    {0x6F5, "Core(TM)2 CPU 6700 @ 2.66GHz", {}, "Core2Family", "65 nm", "B1", 100},
    {0x10661, "CPU 440 @ 2.00GHz", {}, "Core2Family", "", "A1", 85},
    {0x6EC, "CPU T2600 @ 2.16GHz", {{0xEE, bit30}}, "CoreDuoSoloFamily", "65 nm", "D0", 85, true},
    {0x6EC, "CPU T2600 @ 2.16GHz", {{0xEE, 0}}, "CoreDuoSoloFamily", "65 nm", "D0", 100, true},
    {0x6EC, "CPU T2600 @ 2.16GHz", {}, "CoreDuoSoloFamily", "65 nm", "D0", none, true},
    // Nehalem and later, Silvermont: the temperature is bits 23 to 16 of MSR 0x1A2. One that says 0 is believed.
    {0x106A5, "CPU X5550 @ 2.67GHz", {}, "NehalemFamily | NehalemCore", "45 nm", "D0"},
    {0x20652, "CPU 650 @ 3.20GHz", {}, "NehalemFamily | WestmereCore", "32 nm", "C2"},
    {0x206A7, "", {{0x1A2, 0xFF00FFFF}}, "SandyBridgeFamily | SandyBridgeCore", "32 nm", "", 0},
    {0x206D7, "", {}, "SandyBridgeFamily | SandyBridgeEPCore", "32 nm", ""},
    {0x306E4, "", {}, "IvyBridgeFamily", "22 nm", "", none, none, true},
    {0x306C3, "", {{0x1A2, 0xFFFFFFFF00640000}}, "HaswellFamily", "22 nm", "", 100},
    {0x306D4, "", {}, "BroadwellFamily", "14 nm", "", none, none, false},
    {0x406C3, "", {}, "Braswell", "14 nm", ""},
    {0x30673, "", {{0x1A2, 0x005A0000}}, "Silvermont", "22 nm", "", 90},
    // Skylake up to stepping 7. From 8 on Kaby Lake, and still Skylake by its display model.
    {0x506E7, "", {}, "Skylake", "14 nm", ""},
    {0x406E8, "", {}, "Skylake | KabyLake", "14 nm", ""},
    {0x906E9, "", {}, "KabyLake", "14 nm", ""},
    // Atom: the temperature by whole number.
    {0x106C2, "CPU N450 @ 1.66GHz", {}, "Atom", "45 nm", "C0", 100},
    {0x106C2, "CPU Z520 @ 1.33GHz", {}, "Atom", "45 nm", "C0", 90},
    {0x106C2, "CPU Z520PT @ 1.33GHz", {}, "Atom", "45 nm", "C0", 110},
    {0x30651, "CPU Z2760 @ 1.80GHz", {}, "CloverTrail", "32 nm", "", 90},
    {0x30650, "", {}, "", "", ""}, // Clover Trail is that one signature alone
    {0xF0A, "", {}, "Pentium4Family", "0.18 um", "C1"},
    {0xF29, "", {}, "Pentium4Family", "0.13 um", "D1"},
    {0xF4A, "", {}, "Pentium4Family", "90 nm", "R0"},
    {0xF50, "", {}, "Pentium4Family", "", ""}, // made up: no such model
    {0xF65, "", {}, "Pentium4Family", "65 nm", "D0"},
    {0x695, "", {}, "", "0.13 um", "B1"},
    {0x6D6, "", {}, "", "90 nm", "B1"},
    {0x6D8, "", {}, "", "90 nm", "C0"},
};

TEST(x86_intel_info, classifies) {
    for (const Identity& expected : identities) {
        SCOPED_TRACE(testing::Message() << std::hex << expected.signature << " " << expected.brand);
        IntelProcessor processor(expected.signature, expected.brand);
        processor.recorded.msrs = expected.msrs;
        const IntelMachine intel(processor);
        EXPECT_EQ(zel::String::join(intel.info.getTypeNames(), " | "), expected.types);
        zel::String text = "untouched";
        EXPECT_EQ(intel.info.getTechnologyString(text), *expected.technology != '\0');
        EXPECT_EQ(text, expected.technology);
        EXPECT_EQ(intel.info.getRevisionString(text), *expected.revision != '\0');
        EXPECT_EQ(text, expected.revision);
        std::uint32_t celsius = 7;
        EXPECT_EQ(intel.info.getTCCActivationTemperature(celsius), expected.celsius.has_value());
        EXPECT_EQ(celsius, expected.celsius.value_or(0));
        EXPECT_EQ(intel.info.isMobile(), expected.mobile);
        EXPECT_EQ(intel.info.isServerDie(), expected.serverDie);
        EXPECT_EQ(intel.info.isPlatformIdBit27Clear(), expected.bit27Clear);
    }
    EXPECT_EQ(IntelMachine(IntelProcessor(0x6D8)).info.getCpuRevision(), 7);
    EXPECT_EQ(IntelMachine(IntelProcessor(0x6D9)).info.getCpuRevision(), 0);
}

TEST(x86_intel_info, reports_the_type) {
    const LogCapture log(zel::LogDiagnostic);
    const IntelMachine kabyLake(IntelProcessor(0x406E9));
    const IntelMachine pentium2(IntelProcessor(0x66A));
    const std::string channel = "2 libQuarrow.cpu_x86.x86_intel_info: \n   CPU type       : ";
    for (const char* const report :
         {"Skylake | KabyLake\n   Signature      : 406E9h\n   Display Family : 0006h\n   Display Model  : 004Eh",
          "Unknown\n   Signature      : 066Ah\n   Display Family : 0006h\n   Display Model  : 0006h"}) {
        EXPECT_THAT(log.messages(), Contains(channel + report));
    }
}

TEST(x86_intel_info, reads_number_and_designed_frequency_from_the_brand_string) {
    const struct {
        std::uint32_t signature;
        const char* brand;
        const char* number; // empty: none; null: not looked for
        optional<std::uint32_t> mhz = none;
    } cases[] = {
        {0x106E5, "Intel(R) Core(TM) i7 CPU       Q 720  @ 1.60GHz", "720", 1600},
        {0x6F6, "A @ B E6600 @ 2.128GHz x", "E6600", 2128},
        {0x6F6, "Genuine Intel(R) CPU @ 1.66GHz", "", 1660},                 // ends without a number
        {0x6F6, "E6600 @ 4.999GHz", "", 4999},                               // a single word
        {0x6F6, "@ 5.00GHz", "", 705},                                       // 5,000,000,000 - 2^32 Hz
        {0x6F6, "1.00GHz CPU E6600 10.5GHz", "", 1910},                      // 10,500,000,000 - 2 * 2^32 Hz
        {0x306C3, "Intel(R) Core(TM) i7-4770 CPU @ 3.40GHz", nullptr, 3400}, // this class goes without
        {0x306C3, "1.6GHz", nullptr, 1600},
        {0x306C3, "GHz", nullptr},
        {0x306C3, "CPU 3.00 GHz", nullptr},
        {0x306C3, "CPU 3GHz", nullptr},
        {0x306C3, "CPU 1.2.3GHz", nullptr},
        {0x306C3, "CPU 1.2345GHz", nullptr},
        {0x306C3, "CPU @1.50GHz", nullptr},
        {0x306C3, "CPU 1700MHz", nullptr},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.brand);
        const IntelMachine intel(IntelProcessor(test.signature, test.brand));
        zel::String number = "untouched";
        EXPECT_EQ(intel.info.getProcessorNumber(number), test.number != nullptr && *test.number != '\0');
        EXPECT_EQ(number, test.number != nullptr ? test.number : "untouched");
        std::uint32_t mhz = 1;
        EXPECT_EQ(intel.info.getCpuDesignedFrequency(mhz), test.mhz.has_value());
        EXPECT_EQ(mhz, test.mhz.value_or(1));
    }
}

// Ratios first, first + 1 ... in a register's eight bytes.
constexpr std::uint64_t rising(std::uint64_t first) {
    return 0x0706050403020100 + first * 0x0101010101010101;
}

TEST(x86_intel_info, reads_the_turbo_ratio_of_each_number_of_active_cores) {
    const Msrs all = {{0x1AD, rising(1)}, {0x1AE, rising(9)}, {0x1AF, rising(17)}, {0x1B0, rising(25)}};
    const struct {
        const char* what;
        std::uint32_t signature, cores;
        Msrs msrs;
        std::uint32_t known; // 1, 2, 3 ... for so many active cores
    } cases[] = {
        {"Haswell: as many as there are cores", 0x306C3, 2, all, 2},
        {"Haswell: four", 0x306C3, 6, all, 4},
        {"Nehalem keeps six", 0x106A5, 8, all, 6},
        {"Sandy Bridge: eight", 0x206A7, 12, all, 8},
        {"Ivy Bridge: one register", 0x306A9, 12, all, 8},
        {"Ivy Bridge server die: two", 0x306E4, 12, all, 12},
        {"Ivy Bridge server die: fifteen", 0x306E4, 20, all, 15},
        {"Broadwell client die keeps six", 0x306D4, 8, all, 6},
        {"Broadwell server die: four registers", 0x406F1, 32, all, 24},
        {"a later register that cannot be read", 0x406F1, 10, {{0x1AD, rising(1)}}, 8},
        {"Kaby Lake: four", 0x906E9, 6, all, 4},
        {"Skylake: four", 0x50654, 6, all, 4},
        {"nothing but 0", 0x506E3, 4, {{0x1AD, 0xFF00000000}}, 0},
        {"no first register", 0x406F1, 4, {{0x1AE, rising(1)}}, 0},
        {"no class that has them", 0x30673, 4, all, 0},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        IntelProcessor processor =
            IntelProcessor(test.signature).leaf(6, {2, 0, 0, 0}).counts(test.cores, 2 * test.cores);
        processor.recorded.msrs = test.msrs;
        zel::Array<IntelTurboRatioLimit> limits{{99, 99}};
        EXPECT_EQ(IntelMachine(processor).info.getTurboRatioLimits(limits), test.known != 0);
        ASSERT_EQ(limits.size(), test.known);
        for (std::uint32_t n = 0; n < test.known; ++n) {
            EXPECT_EQ(limits[n].activeCores, n + 1);
            EXPECT_EQ(limits[n].ratio, n + 1);
        }
    }
}

} // namespace
