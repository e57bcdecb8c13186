// Multipliers and speeds from the makers' registers. MSR values marked with a processor's name were read on one; what
// they mean was worked out by hand from the manuals.

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/SpeedTexts.h>

#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

using namespace libQuarrow;
using namespace testing_support;
using cpu::x86_speed_metrics;

namespace {

using Msrs = std::map<std::uint32_t, std::uint64_t>;

struct Case {
    const char* what;
    os::RecordedProcessor processor;
    Msrs msrs;
    const char* metrics;
};

// What it is sold with: names are rounded, or cut off, to hundredths of a GHz.
void expectTheNamedSpeed(const OneProcessor& one) {
    std::uint32_t named = 0;
    x86_speed_metrics metrics;
    const cpu::x86_intel_info intel(one.cpu);
    if (!one.machine.recording().processors[0].msrs.empty() && intel.getCpuDesignedFrequency(named) &&
        one.cpu.getSpeedMetrics(metrics)) {
        EXPECT_NEAR(megahertz(metrics.highestSpeed), named, 10);
    }
}

TEST(Speed, comes_from_the_registers_and_the_name) {
    using Intel = IntelProcessor;
    const auto withTurbo = [](std::uint32_t signature, std::uint32_t cores) {
        return Intel(signature).leaf(6, {2, 0, 0, 0}).counts(cores, cores);
    };
    const auto kabyLake = [](std::uint32_t eax) {
        return Intel(0x906E9, "CPU @ 4.20GHz").maxLeaf(0x16).leaf(6, {eax, 0, 0, 0});
    };
    const auto withEst = [](std::uint32_t signature) {
        return Intel(signature).leaf(1, {signature, 0, 1 << 7, 1 << 5});
    };
    // clang-format off
    Case cases[] = {
        {"Xeon Irwindale, slowed down", withEst(0xF4A), {{0x2C, 0x11020311}, {0x198, 0x112D00000E1E}}, "200: 0/14/17 = 3400"},
        {"no SpeedStep", Intel(0xF29), {{0x2C, 0x0E020000}, {0x198, 0x500}}, "200: 0/14/14 = 2800"},
        {"model 2, code 0", Intel(0xF24), {{0x2C, 0x14000000}}, "100: 0/20/20 = 2000"},
        {"model 4, code 0", Intel(0xF43), {{0x2C, 0x0E000000}}, "266.666667: 0/14/14 = 3733.333333"},
        {"model 2, code 0, of later models by its name", Intel(0xF25, "Pentium(R) 4 CPU 3.46GHz"), {{0x2C, 0x0D000000}},
         "266.666667: 0/13/13 = 3466.666667"},
        {"model 2, a code of later models", Intel(0xF29), {{0x2C, 0x0E040000}}, "0: 0/14/14 = 0"},
        {"model 0: bus clock only", Intel(0xF0A, "4 CPU 1.70GHz"), {{0x2C, 0}}, "100: 0/0/17 = 1700"},
        {"Core 2 P8400, accelerated", Intel(0x10676, "P8400 @ 2.26GHz"),
         {{0xCD, 0x1E0}, {0x198, 0x0617092706000927}, {0x17, 0x001C0000B9F4C822}},
         "266.666667: 0/9/8.5 = 2266.666667, 9 = 2400"},
        {"the same at half the bus clock", Intel(0x10676), {{0xCD, 0}, {0x198, 0x0617092706008611}, {0x17, 0xD0000000}},
         "266.666667: 0/3/9 = 2400"},
        {"a desktop set above what it is qualified for", Intel(0x10676), {{0xCD, 0}, {0x198, 0x092700000927}, {0x17, 0x800}},
         "266.666667: 0/9/9 = 2400"},
        {"Core 2 Q9550, half a step", Intel(0x10677, "Q9550 @ 2.83GHz"), {{0xCD, 4}, {0x198, 0x482200000616}},
         "333.333333: 0/6/8.5 = 2833.333333"},
        {"65 nm Core 2, which has no half steps", Intel(0x6FB), {{0xCD, 4}, {0x198, 0x492200004616}, {0x17, 0x4800}},
         "333.333333: 0/6/9 = 3000"},
        {"Core 2 without a status", Intel(0x10676), {{0xCD, 0}, {0x17, 0x001C0000B9F4C822}},
         "266.666667: 0/0/8.5 = 2266.666667"},
        {"Core Duo", Intel(0x6EC, "T2600 @ 2.16GHz"), {{0xCD, 3}, {0x198, 0x0D280000C613}},
         "166.666667: 0/6/13 = 2166.666667"},
        {"Core 2, a code that is none", Intel(0x6F6), {{0xCD, 7}, {0x198, 0x092700000613}}, "0: 0/6/9 = 0"},
        {"Atom", Intel(0x106C2), {{0xCD, 1}, {0x198, 0x0C1A00000616}}, "133.333333: 0/6/12 = 1600"},
        {"Atom D525", Intel(0x106CA, "D525 @ 1.80GHz"), {{0xCD, 2}, {0x198, 0x091A00000916}}, "200: 0/9/9 = 1800"},
        {"Atom, a slow bus", Intel(0x106C2), {{0xCD, 7}, {0x198, 0x0C1A00000C16}}, "83.333333: 0/12/12 = 1000"},
        {"Silvermont", Intel(0x30673), {{0xCD, 0}, {0xCE, 0x1800}, {0x198, 0x1000}},
         "83.333333: 0/16/24 = 2000"},
        {"Airmont", Intel(0x406C3), {{0xCD, 8}, {0xCE, 0x1400}, {0x198, 0x1400}}, "87.5: 0/20/20 = 1750"},
        {"Westmere i5-650", withTurbo(0x20652, 2), {{0xCE, 0x090008051800}, {0x198, 0x19}, {0x1AD, 0x191A}},
         "133.333333: 9/25/24 = 3200, 26 = 3466.666667"},
        {"Skylake Xeon Bronze 3104: no turbo", Intel(0x50654),
         {{0xCE, 0x0007082CF3811100}, {0x198, 0x150500000800}, {0x1AD, 0x1111111111111111}}, "100: 8/8/17 = 1700"},
        {"of no class, with leaf 0x16", withTurbo(0x906A4, 4).maxLeaf(0x16).leaf(0x16, {1500, 4400, 100, 0}),
         {{0xCE, 0x0004043DF0810F00}, {0x198, 0x1E00}}, "100: 4/30/15 = 1500, 44 = 4400"},
        {"registers before leaf 0x16", Intel(0x906E9).maxLeaf(0x16).leaf(0x16, {4200, 4200, 100, 0}),
         {{0xCE, 0x080000002900}}, "100: 8/0/41 = 4100"},
        // With CPUID alone.
        {"leaf 0x16 with turbo", kabyLake(2).leaf(0x16, {3600, 4500, 100, 0}), {}, "100: 0/0/36 = 3600, 45 = 4500"},
        {"leaf 0x16, turbo off", kabyLake(0).leaf(0x16, {3600, 4500, 100, 0}), {}, "100: 0/0/36 = 3600"},
        {"leaf 0x16, upper halves reserved", kabyLake(2).leaf(0x16, {0xFFFF0E10, 0xFFFF0E10, 0xFFFF0064, 0}), {},
         "100: 0/0/36 = 3600"},
        {"leaf 0x16 of zeros: the name", kabyLake(2), {}, "100: 0/0/42 = 4200"},
        {"leaf 0x15: 24 MHz * 216 / 2", kabyLake(0).leaf(0x15, {2, 216, 24000000, 0}), {}, "100: 0/0/26 = 2592"},
        {"leaf 0x15 without a denominator", kabyLake(0).leaf(0x15, {0, 216, 24000000, 0}), {}, "100: 0/0/42 = 4200"},
        {"no bus clock: the name alone", Intel(0x6D6, "Pentium(R) M processor 1.60GHz"), {}, "0: 0/0/0 = 1600"},
        {"of no class, without leaf 0x16: ratios of a clock that nobody told", Intel(0x806F8).maxLeaf(0x15),
         {{0xCE, 0x080000001400}}, "0: 8/0/20 = 0"},
        {"of no class, nothing told", Intel(0x806F8).maxLeaf(0x1F), {}, "none"},
        {"nothing", Intel(0x6D6), {}, "none"},
    };
    // clang-format on
    for (Case& row : cases) {
        row.processor.msrs = row.msrs;
        const OneProcessor one(row.processor);
        EXPECT_EQ(speedText(one.cpu), row.metrics) << row.what;
        expectTheNamedSpeed(one);
    }
}

// MSR_PLATFORM_INFO of 3400 MHz, and MPERF and APERF that move on with every reading.
class RunningCounters : public libKernelMode::DriverBackend {
  public:
    // At 0xE7 and 0xE8 from `base` on.
    RunningCounters(std::uint64_t mperf, std::uint64_t aperf, std::uint32_t base)
        : steps{{base + 0xE7, mperf}, {base + 0xE8, aperf}}, values{{0xCE, 0x2200},
                                                                    {base + 0xE7, 5000},
                                                                    {base + 0xE8, 5000}} {}
    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string&) override { return std::make_unique<Access>(*this); }

  private:
    struct Access : libKernelMode::MsrAccess {
        explicit Access(RunningCounters& all) : counters(all) {}
        bool read(std::uint32_t msr, std::uint64_t& value) override {
            const bool isThere = counters.values.count(msr) != 0;
            value = isThere ? counters.values[msr] += counters.steps[msr] : 0;
            return isThere;
        }
        bool write(std::uint32_t, std::uint64_t) override { return false; }
        RunningCounters& counters;
    };
    Msrs steps;
    Msrs values;
};

TEST(EffectiveSpeed, is_measured_where_the_counters_are_and_run_forwards) {
    constexpr std::uint64_t back = std::uint64_t{0} - 1000;
    const struct {
        std::uint32_t ecx;
        std::uint64_t mperf, aperf;
        double multiplier;
        std::uint32_t base = 0;
        std::uint32_t copies = 0; // leaf 0x80000007 EDX bit 10
    } cases[] = {
        {1, 1000, 1250, 42.5},
        {0, 1000, 1250, 0},
        {1, back, 1250, 0},
        {1, 1000, back, 0},
        {1, 0, 1250, 0},
        {1, 1000, 1250, 42.5, 0xC0000000, 1 << 10}, // the copies alone can be read
        {1, 1000, 1250, 0, 0xC0000000, 1 << 9},     // there are none
    };
    for (const auto& row : cases) {
        OneProcessor one(IntelProcessor(0x306C3)
                             .leaf(6, {0, 0, row.ecx, 0})
                             .leaf(0x80000000, {0x80000007, 0, 0, 0})
                             .leaf(0x80000007, {0, 0, 0, row.copies}));
        RunningCounters counters(row.mperf, row.aperf, row.base);
        const libKernelMode::ScopedDriverBackend drivers(counters);
        x86_speed_metrics metrics;
        one.counts() = {};
        ASSERT_TRUE(one.cpu.getSpeedMetrics(metrics));
        // Turbo and these counters are told by the same leaf, their copies by another.
        EXPECT_EQ(one.counts().cpuid, row.base == 0 ? 1u : 2u);
        EXPECT_EQ(metrics.effectiveSpeed.has_value(), row.multiplier != 0);
        EXPECT_EQ(metrics.effectiveMultiplier, row.multiplier);
    }
}

} // namespace
