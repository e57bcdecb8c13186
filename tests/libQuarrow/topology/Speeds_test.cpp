// Speeds and limits as the topology tells them. MSR values marked with a processor's name were read on one; what they
// mean was worked out by hand from the manuals.

#include <libQuarrow/topology/Topology.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/IntelProcessor.h>

#include <gtest/gtest.h>

#include <sstream>

using namespace libQuarrow;
using namespace libQuarrow::topology;
using namespace testing_support;

namespace {

constexpr std::uint32_t turboPowerFlag = 2;    // leaf 6 EAX bit 1
constexpr std::uint32_t hwpPowerFlag = 1 << 7; // leaf 6 EAX
constexpr std::uint64_t enabledStateBit = std::uint64_t{1} << 63;
constexpr std::uint64_t offsetToldBit = 1 << 30; // MSR 0xCE: MSR 0x1A2 has an offset

TopologyRequest speedsAndLimits() {
    TopologyRequest request;
    request.speeds = true;
    request.limits = true;
    return request;
}

std::string figureTold(const SpeedFigure& figure) {
    std::ostringstream out;
    out << (figure.hertz ? static_cast<double>(*figure.hertz) / 1e6 : 0) << "x" << figure.multiplier.value_or(0);
    return out.str();
}

// In MHz with multipliers, 0 for what is not known: "bus: lowest/current/base/turbo".
std::string speedTold(const ProcessorSpeed& speed) {
    std::ostringstream out;
    out << static_cast<double>(speed.busClockHertz.value_or(0)) / 1e6 << ": " << figureTold(speed.lowest) << "/"
        << figureTold(speed.current) << "/" << figureTold(speed.base) << "/" << figureTold(speed.turbo);
    return out.str();
}

// "100-14 1:40 4:38 52/30/8/5": degrees and offset, turbo by active cores, levels; "-" for what is not known.
std::string limitsTold(const ProcessorLimits& limits) {
    std::ostringstream out;
    const auto number = [&out](const auto& value) { value ? out << *value : out << "?"; };
    number(limits.throttleCelsius);
    out << "-";
    number(limits.throttleOffsetCelsius);
    for (const TurboRatio& turbo : limits.turboRatios) {
        out << " " << turbo.activeCores << ":" << turbo.ratio;
    }
    if (const auto& levels = limits.levels) {
        out << " " << levels->highest << "/" << levels->guaranteed << "/" << levels->efficient << "/" << levels->lowest;
    }
    return out.str();
}

// With turbo, and in leaf 0xB so many cores of two threads each.
IntelProcessor turboIntel(std::uint32_t signature, std::uint32_t cores, std::uint32_t powerFlags = turboPowerFlag) {
    return IntelProcessor(signature, "")
        .maxLeaf(0xB)
        .leaf(6, {powerFlags, 0, 0, 0})
        .leaf(0xB, {1, 2, 0x100, 0}, 0)
        .leaf(0xB, {6, 2 * cores, 0x201, 0}, 1);
}

// Of a hybrid, with leaves 0x15 and 0x16; `type` as in leaf 0x1A.
IntelProcessor hybridCore(std::uint32_t type, std::uint32_t highestMHz) {
    return turboIntel(0x906A3, 14)
        .maxLeaf(0x1A)
        .leaf(7, {0, 0, 0, 1 << 15})
        .leaf(0x15, {2, 152, 38400000, 0})
        .leaf(0x16, {2900, highestMHz, 100, 0})
        .leaf(0x1A, {type << 24, 0, 0, 0});
}

struct SpeedRow {
    const char* what;
    os::RecordedProcessor processor;
    const char* speed;
    const char* limits;
};

void expectSpeedsTold(const SpeedRow& row) {
    const CurrentMachine machine({row.processor});
    const Topology topology = Topology::read(speedsAndLimits()).value();
    const Processor& processor = topology.processors().at(0);
    EXPECT_EQ(speedTold(*processor.speed), row.speed) << row.what;
    EXPECT_EQ(limitsTold(*processor.limits), row.limits) << row.what;
}

TEST(Speeds, ComeFromIntelsRegisters) {
    const SpeedRow rows[] = {
        // clang-format off
        {"Core i5-650, Westmere",
         turboIntel(0x20652, 2).msr(0xCE, 0x0000090008051800).msr(0x198, 0x19).msr(0x1A2, 0x691000).msr(0x1AD, 0x191A),
         "133.333: 1200x9/3333.33x25/3200x24/3466.67x26", "105-? 1:26 2:25"},
        {"Nehalem-EX, whose MSR 0x1AD is reserved",
         turboIntel(0x206E6, 8).msr(0xCE, 0x0000080000001100).msr(0x1A2, 0x600000).msr(0x1AD, 0x1313),
         "133.333: 1066.67x8/0x0/2266.67x17/0x0", "96-?"},
        {"Core i5-2400, Sandy Bridge: its offset is not to be looked at",
         turboIntel(0x206A7, 4).msr(0xCE, 0x0000100078011F00).msr(0x1A2, 0x05631400).msr(0x1AD, 0x20212122),
         "100: 1600x16/0x0/3100x31/3400x34", "99-? 1:34 2:33 3:33 4:32"},
        {"Ivy Bridge-E: nine and more cores in MSR 0x1AE, with a semaphore; an offset of four bits",
         turboIntel(0x306E4, 15).msr(0xCE, 0x00000C0000001900 | offsetToldBit).msr(0x1A2, 0x35640000)
             .msr(0x1AD, 0x1E1F202122232425).msr(0x1AE, enabledStateBit | 0x1A1B1C1D),
         "100: 1200x12/0x0/2500x25/3700x37", "100-5 1:37 2:36 3:35 4:34 5:33 6:32 7:31 8:30 9:29 10:28 11:27 12:26"},
        {"Haswell-E: eighteen in three registers, the last one missing",
         turboIntel(0x306F2, 18).msr(0xCE, 0x00000C0000001700).msr(0x1A2, 0x05600000)
             .msr(0x1AD, 0x2424242424242424).msr(0x1AE, 0x2323232323232323),
         "100: 1200x12/0x0/2300x23/3600x36",
         "96-? 1:36 2:36 3:36 4:36 5:36 6:36 7:36 8:36 9:35 10:35 11:35 12:35 13:35 14:35 15:35 16:35"},
        {"Core i7-4770, Haswell",
         turboIntel(0x306C3, 4).msr(0xCE, 0x00080838F3012200).msr(0x198, 0x1FC300002200).msr(0x1A2, 0x641400)
             .msr(0x1AD, 0x25262727),
         "100: 800x8/3400x34/3400x34/3900x39", "100-0 1:39 2:39 3:38 4:37"},
        {"Xeon Bronze 3104, Skylake-SP, which says that it has no turbo",
         turboIntel(0x50654, 6, 0).msr(0xCE, 0x0007082CF3811100).msr(0x1A2, 0x590A00).msr(0x1AD, 0x1111111111111111)
             .msr(0x1AE, 0x1C1814100C060402), "100: 800x8/0x0/1700x17/0x0", "89-0"},
        {"Xeon Silver 4514Y, Emerald Rapids: groups, for as many cores as there are; leaf 0x15",
         turboIntel(0xC06F2, 16).maxLeaf(0x15).msr(0xCE, 0x8005082EF4811400).msr(0x198, 0x138A00000800)
             .msr(0x1A2, 0x805A0800).msr(0x1AD, 0x1A1A1B1D1F222222).msr(0x1AE, 0x10100E0C0A080604),
         "100: 800x8/800x8/2000x20/3400x34", "90-0 4:34 6:34 8:34 10:31 12:29 14:27 16:26"},
        {"groups whose counts cannot be read", turboIntel(0xC06F2, 16).msr(0x1AD, 0x1A1A1B1D1F222222),
         "0: 0x0/0x0/0x0/0x34", "?-? 1:34"},
        {"Xeon 658X, Granite Rapids: an offset of six bits, hardware-controlled states",
         turboIntel(0xA06D1, 24, turboPowerFlag | hwpPowerFlag).maxLeaf(0x15).msr(0xCE, 0x0405082CF0801E00).msr(0x1A2, 0x0E680800)
             .msr(0x1AD, 0x3132333434343434).msr(0x1AE, 0x181814100C080402).msr(0x771, 0x05081E34),
         "100: 800x8/0x0/3000x30/5200x52", "104-14 2:52 4:52 8:52 12:52 16:52 20:51 24:50 52/30/8/5"},
        {"levels that no leaf announces, counts that do not ascend",
         turboIntel(0x906ED, 8).maxLeaf(0x15).msr(0x771, 0x01010101).msr(0x1AD, 0x2A2B2C2D).msr(0x1AE, 0x03020402),
         "100: 0x0/0x0/0x0/4500x45", "?-? 2:45 4:44"},
        {"Silvermont: other registers of turbo, an offset that nothing announces",
         turboIntel(0x30678, 4).msr(0xCD, 0).msr(0xCE, 0x1600).msr(0x1A2, 0x03690000).msr(0x1AD, 0x1A1A1A1A),
         "83.3333: 0x0/0x0/1833.33x22/0x0", "105-3"},
        {"Goldmont, which has no leaf of its bus clock",
         turboIntel(0x506C9, 4).maxLeaf(0x15).leaf(0x15, {3, 171, 19200000, 0}).msr(0xCE, 0x0000080000000B00)
             .msr(0x1A2, 0x690000).msr(0x1AD, 0x161616161617).msr(0x1AE, 0x0804),
         "100: 800x8/0x0/1100x11/2300x23", "105-0 4:23"},
        {"a hybrid's performance core", hybridCore(0x40, 5000).msr(0xCE, 0x0000040000001900).msr(0x198, 0x2000)
             .msr(0x1AD, 0x2F2F30303132).msr(0x650, 0x2626).msr(0x1A2, 0x640000),
         "100: 400x4/3200x32/2500x25/5000x50", "100-? 1:50 2:49 3:48 4:48 5:47 6:47"},
        {"its efficient core", hybridCore(0x20, 3800).msr(0xCE, 0x0000040000001900).msr(0x198, 0x1200)
             .msr(0x1AD, 0x2F2F30303132).msr(0x650, 0x23262626).msr(0x651, 0x08060402).msr(0x1A2, 0x640000),
         "100: 0x0/1800x18/0x0/3800x38", "100-? 2:38 4:38 6:38 8:35"},
        {"the efficient core without MSRs", hybridCore(0x20, 3800), "100: 0x0/0x0/0x0/3800x38", "?-?"},
        {"the performance core without MSRs", hybridCore(0x40, 5000), "100: 0x0/0x0/2900x29/5000x50", "?-?"},
        {"one whose highest frequency is its base", hybridCore(0x40, 2900), "100: 0x0/0x0/2900x29/0x0", "?-?"},
        {"a family after 6", turboIntel(0x400F10, 8).msr(0x1A2, 0x640000).msr(0x1AD, 0x2021).msr(0x1AE, 0x0804),
         "0: 0x0/0x0/0x0/0x33", "100-? 4:33 8:32"},
        {"Core 2 P8400, mobile: MSR 0x17 and, of its two temperatures, MSR 0xEE",
         IntelProcessor(0x10676, "").msr(0x17, 0x001C0000B9F4C822).msr(0xCD, 0x1E0).msr(0xEE, 0x9EB91000)
             .msr(0x198, 0x0617092706000927).msr(0x1A2, 0x640000).msr(0x1AD, 0x0909),
         "266.667: 0x0/2400x9/2266.67x8.5/2400x9", "105-?"},
        {"only a name", IntelProcessor(0x50657, "Intel(R) Xeon(R) Processor @ 2.50GHz"), "100: 0x0/0x0/2500x25/0x0", "?-?"},
        // clang-format on
    };
    for (const SpeedRow& row : rows) {
        expectSpeedsTold(row);
    }
}

TEST(Speeds, ComeFromAmdsRegisters) {
    const auto hygon = [] { return AmdProcessor(0x900F22).leaf(0, {1, 0x6F677948, 0x656E6975, 0x6E65476E}); };
    const auto withCppc = [](std::uint32_t signature) {
        return AmdProcessor(signature).leaf(0x80000008, {0, 1 << 27, 0, 0});
    };
    const SpeedRow rows[] = {
        // clang-format off
        {"Ryzen 5 1500X", AmdProcessor(0x800F11).msr(0xC0010061, 0x20).msr(0xC0010063, 1)
             .msr(0xC0010064, 0x8000000048CC888C).msr(0xC0010065, 0x8000000047900878)
             .msr(0xC0010066, 0x8000000043DA907C).msr(0xC0010067, 0),
         "100: 1550x15.5/3000x30/3500x35/0x0", "?-?"},
        {"Threadripper 7960X, family 19h, with levels", withCppc(0xA10F81).msr(0xC0010061, 0x20).msr(0xC0010063, 0)
             .msr(0xC0010064, 0x800000004AAFC8A8).msr(0xC0010065, 0x800000004596CC84)
             .msr(0xC0010066, 0x8000000043D45078).msr(0xC0010067, 0).msr(0xC00102B0, 0xC4842A10),
         "100: 1500x15/4200x42/4200x42/0x0", "?-? 196/132/42/16"},
        {"Ryzen AI Max+ 395, family 1Ah", AmdProcessor(0xB70F00).msr(0xC0010061, 0x20).msr(0xC0010063, 2)
             .msr(0xC0010064, 0x8000000047AFC258).msr(0xC0010065, 0x8000000045EAC1E0)
             .msr(0xC0010066, 0x8000000044A5C168).msr(0xC0010067, 0).msr(0xC00102B0, 0xC4842A10),
         "100: 1800x18/1800x18/3000x30/0x0", "?-?"},
        {"Hygon, one state of three enabled", hygon().msr(0xC0010061, 0x20).msr(0xC0010063, 0)
             .msr(0xC0010064, 0x80000000000C8878).msr(0xC0010065, 0x140A82).msr(0xC0010066, 0x1A0C78),
         "100: 3000x30/3000x30/3000x30/0x0", "?-?"},
        {"a divisor of 0 is no state; levels that are not set up yet",
         withCppc(0x800F11).msr(0xC0010064, enabledStateBit | 0x8C).msr(0xC00102B0, 0), "0: 0x0/0x0/0x0/0x0", "?-?"},
        {"Phenom II 940", AmdProcessor(0x100F42).msr(0xC0010064, 0x8000001A3C00200E)
             .msr(0xC0010065, 0x800001C33C003007).msr(0xC0010066, 0x800001B63C004002)
             .msr(0xC0010067, 0x800001723C005840).msr(0xC0010068, 0x40000000).msr(0xC0010071, 0x008000033C00200E),
         "200: 800x4/3000x15/3000x15/0x0", "?-?"},
        {"family 12h", AmdProcessor(0x300F10).msr(0xC0010061, 0x10).msr(0xC0010064, enabledStateBit | 0x0D0)
             .msr(0xC0010065, enabledStateBit | 0x081).msr(0xC0010071, 0x081), "100: 1600x16/1600x16/2900x29/0x0", "?-?"},
        {"family 14h divides its main PLL", AmdProcessor(0x500F10).msr(0xC0010061, 0).msr(0xC0010064, enabledStateBit | 0x10)
             .msr(0xC0010071, 0x0060000000000010), "100: 3200x32/3200x32/3200x32/0x0", "?-?"},
        {"the last model of family 15h with a bus of 200 MHz", AmdProcessor(0x600FF0).msr(0xC0010064, enabledStateBit | 6),
         "200: 0x0/0x0/2200x11/0x0", "?-?"},
        {"an unlimited Athlon 64", AmdProcessor(0xF58).msr(0xC0010042, 0x2A0E02), "200: 0x0/1000x5/2200x11/0x0", "?-?"},
        {"no MSRs", AmdProcessor(0xA10F81), "0: 0x0/0x0/0x0/0x0", "?-?"},
        // clang-format on
    };
    for (const SpeedRow& row : rows) {
        expectSpeedsTold(row);
    }
    const CurrentMachine machine({rows[0].processor});
    const auto speed = Topology::read(speedsAndLimits()).value().processors()[0].speed;
    ASSERT_EQ(speed->performanceStates.size(), 3U);
    EXPECT_TRUE(speed->performanceStates[2].number == 2 && speed->performanceStates[2].hertz == 1'550'000'000);
}

// A recording's counters stand still: they are moved between the two readings.
TEST(Speeds, AreMeasuredAndAskedOfTheOperatingSystem) {
    os::RecordedProcessor processor = hybridCore(0x20, 3800);
    processor.leaves[{6, 0}].ecx = 1;
    processor.frequencies = {800'000'000, 1'800'000'000, 3'800'000'000};
    os::Recording recording = CurrentMachine::recording(std::vector{processor});
    recording.tscHertz = 2'918'400'000;
    os::RecordedMachine machine(recording);
    const os::ScopedMachine scope(machine);
    const Topology topology = Topology::read(speedsAndLimits()).value();
    const ProcessorSpeed& speed = *topology.processors()[0].speed;
    EXPECT_EQ(speed.tscHertz, 2'918'400'000U);
    EXPECT_EQ(speedTold(speed), "100: 800x8/0x0/1800x18/3800x38");
    EXPECT_EQ(speed.system, processor.frequencies);
    EXPECT_EQ(topology.msrRefusal(), "this recording holds no MSRs; docs/recordings.md tells how to add some");
    TopologyRequest request = speedsAndLimits();
    request.measure = false;
    EXPECT_FALSE(Topology::read(request).value().processors()[0].speed->tscHertz);
}

TEST(Speeds, AreToldOfThoseAskedForInTheOneVisit) {
    std::vector<IntelProcessor> processors(3, turboIntel(0xA06D1, 24).msr(0x1A2, 0x640000));
    CurrentMachine machine(processors);
    machine.faults().unpinnable = {1};
    TopologyRequest request = speedsAndLimits();
    request.whose = ProcessorSet{1, 2};
    std::vector<std::size_t> done;
    request.progress = [&done](std::size_t count, std::size_t all) {
        EXPECT_EQ(all, 3U);
        done.push_back(count);
    };
    const Topology topology = Topology::read(request).value();
    EXPECT_EQ(done, (std::vector<std::size_t>{1, 2, 3}));
    EXPECT_EQ(machine.counts().affinitySets,
              (std::vector<std::string>{"thread 0:1", "thread 0:2", "thread 0:4", "thread 0:7"}));
    for (const auto& [leaf, count] : machine.counts().cpuidOf) {
        EXPECT_LE(count, 2U) << std::hex << leaf.first << " " << leaf.second;
    }
    EXPECT_TRUE(topology.find(0)->speed == nullptr && topology.find(0)->limits == nullptr);
    ASSERT_TRUE(topology.find(2)->speed != nullptr && topology.find(2)->limits != nullptr);
    EXPECT_EQ(topology.find(2)->limits->throttleCelsius, 100U);
    EXPECT_EQ(topology.msrRefusal(), "") << "they are within reach";
    request = TopologyRequest();
    request.limits = true;
    EXPECT_EQ(Topology::read(request).value().find(0)->speed, nullptr);
}

} // namespace
