#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <boost/optional/optional_io.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/LogCapture.h>

using boost::none;
using boost::optional;
using libQuarrow::cpu::x86_intel_info;
using testing::Contains;
using testing_support::IntelMachine;
using testing_support::IntelProcessor;
using testing_support::LogCapture;

namespace {

constexpr std::uint64_t bit27 = 0x08000000;
constexpr std::uint64_t bit28 = 0x10000000;

// What the classification gives. The signatures are those of real parts unless said otherwise.
struct Identity {
    std::uint32_t signature;
    const char* brand;
    optional<std::uint64_t> platformId; // MSR 0x17; none: cannot be read
    const char* types;
    const char* technology;
    const char* revision;
    optional<bool> mobile = none;
    optional<bool> serverDie = none;
    optional<bool> bit27Clear = none;
};

const Identity identities[] = {
    // The stepping of a 45 nm Core 2 goes by number: E8400 has no row. Wolfdale or Penryn is what MSR 0x17 says.
    {0x10676, "Intel(R) Core(TM)2 Duo CPU     E8400  @ 3.00GHz", 0, "Core2Family | Wolfdale", "45 nm", "", false, none,
     true},
    {0x10676, "CPU E8600 @ 3.33GHz", none, "Core2Family", "", "E0"},
    {0x1067A, "CPU QX9300 @ 2.53GHz", bit28, "Core2Family | Penryn", "45 nm", "E0", true, none, true},
    // Not one of the signatures that go by number, although it looks like them.
    {0x1067B, "CPU QX9300 @ 2.53GHz", none, "Core2Family", "", ""},
    // 65 nm: mobile by number. Without "@" there is no number.
    {0x6F6, "CPU T7200 @ 2.00GHz", bit27, "Core2Family | Merom", "65 nm", "B2", true, none, false},
    {0x6F6, "CPU T7200", none, "Core2Family", "65 nm", "B2"},
    {0x10661, "CPU 440 @ 2.00GHz", none, "Core2Family", "", "A1"},
    {0x6EC, "CPU T2600 @ 2.16GHz", none, "CoreDuoSoloFamily", "65 nm", "D0", true},
    {0x106A5, "CPU X5550 @ 2.67GHz", none, "NehalemFamily | NehalemCore", "45 nm", "D0"},
    {0x20652, "CPU 650 @ 3.20GHz", none, "NehalemFamily | WestmereCore", "32 nm", "C2"},
    {0x206A7, "", none, "SandyBridgeFamily | SandyBridgeCore", "32 nm", ""},
    {0x206D7, "", none, "SandyBridgeFamily | SandyBridgeEPCore", "32 nm", ""},
    {0x306E4, "", none, "IvyBridgeFamily", "22 nm", "", none, true},
    {0x306C3, "", none, "HaswellFamily", "22 nm", ""},
    {0x306D4, "", none, "BroadwellFamily", "14 nm", "", none, false},
    {0x406C3, "", none, "Braswell", "14 nm", ""},
    {0x30673, "", none, "Silvermont", "22 nm", ""},
    // Skylake up to stepping 7. From 8 on Kaby Lake, and still Skylake by its display model.
    {0x506E7, "", none, "Skylake", "14 nm", ""},
    {0x406E8, "", none, "Skylake | KabyLake", "14 nm", ""},
    {0x906E9, "", none, "KabyLake", "14 nm", ""},
    {0x106C2, "", none, "Atom", "45 nm", "C0"},
    {0x30651, "", none, "CloverTrail", "32 nm", ""},
    {0x30650, "", none, "", "", ""}, // Clover Trail is that one signature alone
    {0xF0A, "", none, "Pentium4Family", "0.18 um", "C1"},
    {0xF29, "", none, "Pentium4Family", "0.13 um", "D1"},
    {0xF4A, "", none, "Pentium4Family", "90 nm", "R0"},
    {0xF50, "", none, "Pentium4Family", "", ""}, // made up: no such model
    {0xF65, "", none, "Pentium4Family", "65 nm", "D0"},
    {0x695, "", none, "", "0.13 um", "B1"},
    {0x6D8, "", none, "", "90 nm", "C0"},
};

TEST(x86_intel_info, classifies) {
    for (const Identity& expected : identities) {
        SCOPED_TRACE(testing::Message() << std::hex << expected.signature << " " << expected.brand);
        IntelProcessor processor(expected.signature, expected.brand);
        if (expected.platformId) {
            processor.msr(0x17, *expected.platformId);
        }
        const IntelMachine intel(processor);
        EXPECT_EQ(zel::String::join(intel.info.getTypeNames(), " | "), expected.types);
        zel::String text = "untouched";
        EXPECT_EQ(intel.info.getTechnologyString(text), *expected.technology != '\0');
        EXPECT_EQ(text, expected.technology);
        EXPECT_EQ(intel.info.getRevisionString(text), *expected.revision != '\0');
        EXPECT_EQ(text, expected.revision);
        EXPECT_EQ(intel.info.getCpuRevision() != 0, *expected.revision != '\0');
        EXPECT_EQ(intel.info.isMobile(), expected.mobile);
        EXPECT_EQ(intel.info.isServerDie(), expected.serverDie);
        EXPECT_EQ(intel.info.isPlatformIdBit27Clear(), expected.bit27Clear);
    }
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
        {0x6F6, "1.00GHz CPU E6600 9.5GHz", "", 910},                        // 9,500,000,000 - 2 * 2^32 Hz
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

} // namespace
