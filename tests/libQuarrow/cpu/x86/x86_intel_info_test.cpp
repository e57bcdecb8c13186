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
    {0x406F1, "", none, "BroadwellFamily", "14 nm", "", none, true},
    {0x406C3, "", none, "Braswell", "14 nm", ""},
    {0x30673, "", none, "Silvermont", "22 nm", ""},
    // Skylake up to stepping 7. From 8 on Kaby Lake, and still Skylake by its display model.
    {0x406E3, "", none, "Skylake", "14 nm", ""},
    {0x506E7, "", none, "Skylake", "14 nm", ""},
    {0x406E8, "", none, "Skylake | KabyLake", "14 nm", ""},
    {0x506E8, "", none, "Skylake | KabyLake", "14 nm", ""},
    {0x906E9, "", none, "KabyLake", "14 nm", ""},
    {0x50654, "", none, "Skylake", "14 nm", ""},
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
    const std::string channel = "2 libQuarrow.cpu_x86.x86_intel_info: ";
    EXPECT_THAT(log.messages(),
                Contains(channel + "\n   CPU type       : Skylake | KabyLake\n   Signature      : 406E9h"
                                   "\n   Display Family : 0006h\n   Display Model  : 004Eh"));
    EXPECT_THAT(log.messages(), Contains(channel + "\n   CPU type       : Unknown\n   Signature      : 066Ah"
                                                   "\n   Display Family : 0006h\n   Display Model  : 0006h"));
}

TEST(x86_intel_info, cuts_the_processor_number_from_the_brand_string) {
    struct Case {
        std::uint32_t signature;
        const char* brand;
        bool found;
        const char* number;
    };
    const Case cases[] = {
        {0x106E5, "Intel(R) Core(TM) i7 CPU       Q 720  @ 1.60GHz", true, "720"},
        {0x6F6, "A @ B E6600 @ 2.40GHz", true, "E6600"},
        {0x6F6, "Genuine Intel(R) CPU @ 1.66GHz", false, ""}, // ends without a number
        {0x6F6, "E6600 @ 2.40GHz", false, ""},                // a single word
        {0x6F6, "@ 2.40GHz", false, ""},
        {0x6F6, "Intel(R) Core(TM)2 CPU E6600", false, ""},
        {0x306C3, "Intel(R) Core(TM) i7-4770 CPU @ 3.40GHz", false, "untouched"}, // not cut for this class
    };
    for (const Case& expected : cases) {
        SCOPED_TRACE(expected.brand);
        const IntelMachine intel(IntelProcessor(expected.signature, expected.brand));
        zel::String number = "untouched";
        EXPECT_EQ(intel.info.getProcessorNumber(number), expected.found);
        EXPECT_EQ(number, expected.number);
    }
}

TEST(x86_intel_info, reads_the_designed_frequency_from_the_brand_string) {
    const std::pair<const char*, optional<std::uint32_t>> cases[] = {
        {"Intel(R) Core(TM)2 Duo CPU E8400 @ 3.00GHz", 3000},
        {"1.6GHz", 1600},
        {"CPU 4.999GHz", 4999}, // 4,000,000,000 still fits 32 bits
        {"CPU 5.00GHz", 705},   // 5,000,000,000 - 2^32 Hz
        {"CPU 9.5GHz", 910},    // 9,000,000,000 - 2 * 2^32 + 500,000,000 Hz
        {"1.00GHz CPU 2.128GHz x", 2128},
        {"GHz", none},
        {"CPU 3.00 GHz", none},
        {"CPU 3GHz", none},
        {"CPU 1.2.3GHz", none},
        {"CPU 1.2345GHz", none},
        {"CPU @1.50GHz", none},
        {"Intel(R) Pentium(R) 4 CPU 1700MHz", none},
    };
    for (const auto& [brand, expected] : cases) {
        SCOPED_TRACE(brand);
        const IntelMachine intel(IntelProcessor(0x6F6, brand));
        std::uint32_t mhz = 1;
        EXPECT_EQ(intel.info.getCpuDesignedFrequency(mhz), expected.has_value());
        EXPECT_EQ(mhz, expected.value_or(1));
    }
}

} // namespace
