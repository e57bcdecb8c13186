// Multipliers and speeds from AMD's registers. MSR values marked with a processor's name were read on one; what they
// mean was worked out by hand from the manuals.

#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <libQuarrow/os/recorded/MachineRecorder.h>
#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/topology/Topology.h>
#include <pci/PciAddress.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/SpeedTexts.h>

#include <gtest/gtest.h>

using namespace libQuarrow;
using namespace testing_support;
using cpu::x86_speed_metrics;

namespace {

constexpr std::uint16_t northbridge3 = pci::PciAddress{0, 0x18, 3}.number();
constexpr std::uint16_t northbridge4 = pci::PciAddress{0, 0x18, 4}.number();

using AmdMsrs = std::map<std::uint32_t, std::uint64_t>;

TEST(AmdSpeed, comes_from_the_registers) {
    using Amd = AmdProcessor;
    constexpr std::uint64_t on = 0x8000000000000000;
    const auto withBoost = [](std::uint32_t signature) { return Amd(signature).leaf(0x80000007, {0, 0, 0, 1u << 9}); };
    struct {
        const char* what;
        os::RecordedProcessor processor;
        AmdMsrs msrs;
        const char* metrics;
    } cases[] = {
        // clang-format off
        {"Athlon 64 2800+", Amd(0xF4A), {{0xC0010042, 0x200000A0A0A}}, "200: 0/9/9 = 1800"},
        {"an unlimited Athlon 64", Amd(0xF58), {{0xC0010042, 0x2A0E02}}, "200: 0/5/11 = 2200"},
        {"Phenom II 940: five registers", Amd(0x100F42),
         {{0xC0010064, 0x8000001A3C00200E}, {0xC0010065, 0x800001C33C003007}, {0xC0010066, 0x800001B63C004002},
          {0xC0010067, 0x800001723C005840}, {0xC0010068, 0x40000000}, {0xC0010071, 0x008000033C00200E}},
         "200: 4/15/15 = 3000"},
        {"family 0x11", Amd(0x200F31),
         {{0xC0010061, 0x10}, {0xC0010064, on | 0x0E}, {0xC0010065, on | 0x4E}, {0xC0010071, 0x4E}},
         "200: 5.5/5.5/11 = 2200"},
        {"family 0x12", Amd(0x300F10),
         {{0xC0010061, 0x10}, {0xC0010064, on | 0x0D0}, {0xC0010065, on | 0x081}, {0xC0010071, 0x081}},
         "100: 16/16/29 = 2900"},
        {"family 0x12, a divisor that is none", Amd(0x300F10), {{0xC0010064, on | 0x0D0}, {0xC0010071, 0x089}},
         "100: 0/0/29 = 2900"},
        {"family 0x14, the upper half of the PLL's field", Amd(0x500F10),
         {{0xC0010061, 0}, {0xC0010064, on | 0x10}, {0xC0010071, 0x0060000000000010}}, "100: 32/32/32 = 3200"},
        {"a later family 0x15, six registers that fail", Amd(0x610F01),
         {{0xC0010064, on | 0x16}, {0xC0010065, on | 0x06}, {0xC0010071, 0x16}}, "100: 0/38/38 = 3800"},
        {"Ryzen 5 1500X", withBoost(0x800F11),
         {{0xC0010061, 0x20}, {0xC0010063, 1}, {0xC0010064, 0x8000000048CC888C}, {0xC0010065, 0x8000000047900878},
          {0xC0010066, 0x8000000043DA907C}}, "100: 15.5/30/35 = 3500"},
        {"family 0x17, the limit leaves out a state", withBoost(0x800F11),
         {{0xC0010061, 0}, {0xC0010063, 0}, {0xC0010064, on | 0x888C}, {0xC0010065, on | 0x878}},
         "100: 35/35/35 = 3500"},
        {"family 0x17, no divisor, no such state", Amd(0x800F11), {{0xC0010063, 7}, {0xC0010064, on | 0x8C}}, "none"},
        {"family 0x1A", Amd(0xB40F40), {{0xC0010061, 0}, {0xC0010063, 0}, {0xC0010064, on | 0x348}},
         "100: 42/42/42 = 4200"},
        {"a family without such registers", Amd(0x6A0), {{0xC0010064, on | 0x888C}}, "none"},
        {"no driver", Amd(0x800F11), {}, "none"},
        // clang-format on
    };
    for (auto& row : cases) {
        row.processor.msrs = row.msrs;
        EXPECT_EQ(speedText(OneProcessor(row.processor).cpu), row.metrics) << row.what;
    }
}

// The same figures of the topology, whose decoder is another one.
std::string speedToday() {
    topology::TopologyRequest request;
    request.speeds = true;
    const topology::ProcessorSpeed speed = *topology::Topology::read(request).value().processors().at(0).speed;
    const auto megahertz = [](const auto& hertz) { return static_cast<double>(hertz.value_or(0)) / 1e6; };
    const double base = speed.base.multiplier.value_or(0), turbo = speed.turbo.multiplier.value_or(0);
    return zel::String::SprintfFormat("%.10g: %g/%g/%g = %.10g", megahertz(speed.busClockHertz),
                                      speed.lowest.multiplier.value_or(0), speed.current.multiplier.value_or(0), base,
                                      megahertz(speed.base.hertz))
               .toUtf8() +
           (turbo == 0 ? "" : zel::String::SprintfFormat(", %g = %.10g", turbo, megahertz(speed.turbo.hertz)).toUtf8());
}

os::Recording machine(const char* name) {
    os::RecordingError error;
    return os::readRecording(std::string(QUARROW_SOURCE_DIR "/tests/machines/") + name, error).value();
}

// Boost states stand before the base state, in as many registers as the northbridge says or the time-stamp counter
// tells.
TEST(AmdSpeed, finds_the_base_state_behind_the_boost_states) {
    using Change = void (*)(os::Recording&, AmdMsrs&);
    const struct {
        const char* what;
        const char* machine;
        const char* metrics;
        Change change;
    } cases[] = {
        // clang-format off
        {"Opteron 6380", "server", "200: 7/7/12.5 = 2500, 17 = 3400", [](auto&, auto&) {}},
        {"half a percent off", "server", "200: 7/7/12.5 = 2500, 17 = 3400", [](auto& all, auto&) { all.tscHertz = 2487500000; }},
        {"of no state's rate", "server", "200: 7/7/0 = 0", [](auto& all, auto&) { all.tscHertz = 2600000000; }},
        {"a rate made up is no rate, though a state has it", "server", "200: 7/7/0 = 0", [](auto& all, auto&) { all.tscHertz = boost::none; }},
        {"a counter at a rate of its own", "server", "200: 7/7/0 = 0", [](auto&, auto& msrs) { msrs[0xC0010015] &= ~(1u << 24); }},
        {"boost switched off", "server", "200: 7/7/12.5 = 2500", [](auto&, auto& msrs) { msrs[0xC0010015] |= 1u << 25; }},
        {"whether boost is on cannot be read", "server", "200: 7/7/12.5 = 2500", [](auto&, auto& msrs) { msrs.erase(0xC0010015); }},
        {"states disabled in the middle", "server", "200: 7/7/12.5 = 2500, 17 = 3400",
         [](auto&, auto& msrs) { msrs[0xC0010065] = msrs[0xC0010067] = msrs[0xC0010069] = 0; }},
        {"the lowest cannot be read", "server", "200: 0/7/12.5 = 2500, 17 = 3400", [](auto&, auto& msrs) { msrs.erase(0xC001006A); }},
        {"the first cannot be read", "server", "200: 7/7/12.5 = 2500", [](auto&, auto& msrs) { msrs.erase(0xC0010064); }},
        {"the base cannot be read", "server", "200: 0/7/0 = 0", [](auto&, auto& msrs) { msrs.erase(0xC0010066); }},
        {"a lower limit", "server", "200: 8.5/7/12.5 = 2500, 17 = 3400", [](auto&, auto& msrs) { msrs[0xC0010061] = 0x30; }},
        {"no limit", "server", "200: 7/7/12.5 = 2500, 17 = 3400", [](auto&, auto& msrs) { msrs.erase(0xC0010061); }},
        {"the status without boost states", "server", "200: 7/7/12.5 = 2500, 17 = 3400", [](auto&, auto& msrs) { msrs.erase(0xC0010071); }},
        {"a status past all states", "server", "200: 7/0/12.5 = 2500, 17 = 3400",
         [](auto&, auto& msrs) { msrs.erase(0xC0010071), msrs[0xC0010063] = 7; }},
        {"says it has no boost: the counter", "server", "200: 7/7/12.5 = 2500, 17 = 3400",
         [](auto& all, auto&) { all.processors[0].leaves.erase({0x80000007, 0}); }},
        {"says it has no boost, no counter: the first", "server", "200: 8.5/7/17 = 3400",
         [](auto& all, auto&) { all.processors[0].leaves.erase({0x80000007, 0}), all.tscHertz = boost::none; }},
        {"A12-9700P", "mobile", "100: 13/13/25 = 2500, 36 = 3600", [](auto&, auto&) {}},
        {"the northbridge before the counter", "mobile", "100: 13/13/30 = 3000, 36 = 3600",
         [](auto& all, auto&) { all.pci[{northbridge4, 0x15C}] = 1 << 2 | 1; }},
        {"no boost states", "mobile", "100: 13/13/36 = 3600", [](auto& all, auto&) { all.pci[{northbridge4, 0x15C}] = 1; }},
        {"boost switched off there", "mobile", "100: 13/13/25 = 2500", [](auto& all, auto&) { all.pci[{northbridge4, 0x15C}] = 3 << 2; }},
        {"the last state there", "mobile", "100: 21/13/25 = 2500, 36 = 3600", [](auto& all, auto&) { all.pci[{northbridge3, 0xDC}] = 4 << 8; }},
        {"the header alone can be read: the counter", "mobile", "100: 13/13/25 = 2500, 36 = 3600",
         [](auto& all, auto&) { all.pci.erase({northbridge4, 0x15C}), all.pci.erase({northbridge3, 0xDC}); }},
        {"somebody else's device", "mobile", "100: 13/13/25 = 2500, 36 = 3600",
         [](auto& all, auto&) { all.pci[{northbridge4, 0}] = 0x10011AF4, all.pci[{northbridge4, 0x15C}] = 1 << 2 | 1; }},
        {"the base cannot be read, the counter nothing to it", "mobile", "100: 0/13/0 = 0",
         [](auto&, auto& msrs) { msrs.erase(0xC0010067); }},
        // clang-format on
    };
    for (const auto& row : cases) {
        os::Recording recording = machine(("amd-boost-15h-" + std::string(row.machine) + ".txt").c_str());
        row.change(recording, recording.processors[0].msrs);
        os::RecordedMachine machine(recording);
        const os::ScopedMachine scope(machine);
        EXPECT_EQ(speedText(cpu::x86_cpu(maskOf(0), true, 0, 0)), row.metrics) << row.what;
        EXPECT_EQ(speedToday(), row.metrics) << row.what;
    }
}

// Where family 0x14's PLL runs is the northbridge's to say.
TEST(AmdSpeed, takes_the_main_pll_of_the_northbridge) {
    os::Recording recording = CurrentMachine::recording(
        std::vector<os::RecordedProcessor>{AmdProcessor(0x500F10).msr(0xC0010071, 0x0060000000000010)});
    for (const auto& [control, metrics] :
         {std::pair{0x50u, "100: 0/16/0 = 0"}, {0x40u, "100: 0/8/0 = 0"}, {0x10u, "100: 0/32/0 = 0"}}) {
        recording.pci = {{{northbridge3, 0}, 0x17031022}, {{northbridge3, 0xD4}, control}};
        os::RecordedMachine machine(recording);
        const os::ScopedMachine scope(machine);
        EXPECT_EQ(speedText(cpu::x86_cpu(maskOf(0), true, 0, 0)), metrics);
    }
}

// What a family has not is never read, since that can end in a fault. A recording notes what was read.
TEST(AmdSpeed, reads_the_registers_of_its_family_alone) {
    const struct {
        std::uint32_t signature;
        std::vector<std::uint32_t> others; // beside the P-states
        std::uint32_t lastPState;
        std::size_t northbridgeRegisters;
    } cases[] = {{0x100F42, {0xC0010015, 0xC0010071}, 0xC0010068, 2},
                 {0x200F31, {0xC0010061, 0xC0010071}, 0xC001006B, 0},
                 {0x600F20, {0xC0010015, 0xC0010071}, 0xC001006B, 2},
                 {0x800F11, {0xC0010061, 0xC0010063}, 0xC001006B, 0}};
    for (const auto& row : cases) {
        AmdProcessor processor(row.signature);
        std::set<std::uint32_t> expected(row.others.begin(), row.others.end());
        for (std::uint32_t msr = 0xC0010000; msr < 0xC0010100; ++msr) {
            processor.msr(msr, 0x8000000000008810); // of any family an enabled state
        }
        for (std::uint32_t msr = 0xC0010064; msr <= row.lastPState; ++msr) {
            expected.insert(msr);
        }
        os::Recording recording = CurrentMachine::recording(std::vector<os::RecordedProcessor>{processor});
        recording.pci = {{{northbridge3, 0}, 0x1022}, {{northbridge3, 0xDC}, 0}, {{northbridge3, 0xE0}, 0}};
        os::RecordedMachine machine(recording);
        CountingMachine live(machine);
        const os::ScopedMachine scope(live);
        os::RecordingError error;
        const os::Recording noted = os::recordCurrentMachine(error).value();
        std::set<std::uint32_t> read;
        for (const auto& [msr, value] : noted.processors[0].msrs) {
            read.insert(msr);
        }
        EXPECT_EQ(read, expected) << std::hex << row.signature;
        EXPECT_EQ(noted.pci.size(), row.northbridgeRegisters);
    }
}

TEST(AmdSpeed, is_read_anew_each_time) {
    const OneProcessor one(AmdProcessor(0x800F11).msr(0xC0010063, 0).msr(0xC0010064, 0x8000000048CC888C));
    const cpu::x86_amd_info info(one.cpu);
    x86_speed_metrics metrics;
    ASSERT_TRUE(info.getSpeedMetrics(metrics));
    const cpu::x86_amd_info copy(info); // shares what the first query made
    ASSERT_TRUE(one.cpu.callWRMSR(0xC0010064, 0x8000000047900878));
    ASSERT_TRUE(copy.getSpeedMetrics(metrics));
    EXPECT_EQ(metrics.maxMultiplier, 30);
}

TEST(AmdSpeed, begins_with_the_rate_of_the_time_stamp_counter) {
    // Family 0xF without a driver: the counter counts the core's clocks, unless it runs at a rate of its own.
    for (const std::uint32_t invariant : {0u, 1u << 8}) {
        const OneProcessor one(AmdProcessor(0xF4A).leaf(0x80000007, {0, 0, 0, invariant}));
        x86_speed_metrics metrics;
        EXPECT_EQ(one.cpu.getSpeedMetrics(metrics), invariant == 0);
        EXPECT_EQ(metrics.currentSpeed.value_or(0), invariant == 0 ? 1000000000u : 0u);
    }
    for (const auto& [signature, msr] : {std::pair{0xF4Au, 0xC0010042u}, std::pair{0x100F42u, 0xC0010071u}}) {
        OneProcessor one(AmdProcessor(signature).msr(msr, 0x0A0A));
        x86_speed_metrics metrics;
        EXPECT_TRUE(one.cpu.getSpeedMetrics(metrics));
        one.faults().counterFrequencyUnreadable = true;
        EXPECT_FALSE(one.cpu.getSpeedMetrics(metrics));
    }
}

} // namespace
