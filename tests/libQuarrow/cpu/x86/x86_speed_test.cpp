// Multipliers and speeds from the makers' registers. MSR values marked with a processor's name were read on one; what
// they mean was worked out by hand from the manuals.

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>

#include <boost/optional/optional_io.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/IntelProcessor.h>

using namespace libQuarrow;
using boost::none;
using boost::optional;
using cpu::x86_speed_metrics;
using testing_support::AmdProcessor;
using testing_support::IntelProcessor;

namespace {

using Msrs = std::map<std::uint32_t, std::uint64_t>;

// The machine of that one processor, current as long as it lives.
struct OneProcessor {
    explicit OneProcessor(const os::RecordedProcessor& processor)
        : machine({{processor}, {}, {}, {}}), scope(machine), cpu(cpu::WinAffinity(1), true, 0, 0) {}

    os::RecordedMachine machine;
    os::ScopedMachine scope;
    cpu::x86_cpu cpu;
};

struct Expected {
    optional<std::uint64_t> busClock;
    double current = 0, lowest = 0, highest = 0;
    optional<std::uint64_t> highestSpeed = {};
    optional<double> turboRatio = {};
    optional<std::uint64_t> turboSpeed = {};
};

template <class Processor>
optional<x86_speed_metrics> metricsOf(const Processor& processor) {
    const OneProcessor one(processor.recorded);
    x86_speed_metrics metrics;
    metrics.currentMultiplier = 99; // must not show through
    return one.cpu.getSpeedMetrics(metrics) ? metrics : optional<x86_speed_metrics>();
}

template <class Processor>
void expectMetrics(const Processor& processor, const Expected& expected) {
    const optional<x86_speed_metrics> metrics = metricsOf(processor);
    ASSERT_TRUE(metrics.has_value());
    EXPECT_EQ(metrics->multiplierPrecision, x86_speed_metrics::trimmedPrecision);
    EXPECT_EQ(metrics->busClock, expected.busClock);
    EXPECT_EQ(metrics->currentMultiplier, expected.current);
    EXPECT_EQ(metrics->minMultiplier, expected.lowest);
    EXPECT_EQ(metrics->maxMultiplier, expected.highest);
    EXPECT_EQ(metrics->highestSpeed, expected.highestSpeed);
    EXPECT_EQ(metrics->turboRatio, expected.turboRatio);
    EXPECT_EQ(metrics->turboSpeed, expected.turboSpeed);
    // Where bus clock and multiplier are known, so is the speed.
    EXPECT_EQ(metrics->currentSpeed.has_value(), expected.busClock && expected.current != 0);
    EXPECT_EQ(metrics->lowestSpeed.has_value(), expected.busClock && expected.lowest != 0);
    EXPECT_EQ(metrics->effectiveSpeed, none) << "a recording's counters stand still";
}

constexpr std::uint64_t MHz = 1000000;

TEST(IntelSpeed, comes_from_the_registers_of_the_generation) {
    struct Case {
        const char* what;
        IntelProcessor processor;
        Msrs msrs;
        Expected expected;
    };
    const auto intel = [](std::uint32_t signature, const char* brand = "") { return IntelProcessor(signature, brand); };
    const auto withTurbo = [](std::uint32_t signature, std::uint32_t cores) {
        return IntelProcessor(signature).leaf(6, {2, 0, 0, 0}).counts(cores, cores);
    };
    const auto withEst = [](std::uint32_t signature) {
        IntelProcessor processor(signature);
        processor.recorded.leaves[{1, 0}].ecx = 1u << 7;
        return processor;
    };
    // clang-format off
    const Case cases[] = {
        {"Xeon Irwindale", withEst(0xF4A), {{0x2C, 0x11020311}, {0x198, 0x0000112D0000112D}},
         {200 * MHz, 17, 0, 17, 3400 * MHz}},
        {"the same, slowed down", withEst(0xF4A), {{0x2C, 0x11020311}, {0x198, 0x0000112D00000E1E}},
         {200 * MHz, 14, 0, 17, 3400 * MHz}},
        {"no SpeedStep: no such register", intel(0xF29), {{0x2C, 0x0E020000}, {0x198, 0x500}},
         {200 * MHz, 14, 0, 14, 2800 * MHz}},
        {"model 2, code 0", intel(0xF24), {{0x2C, 0x14000000}}, {100 * MHz, 20, 0, 20, 2000 * MHz}},
        {"model 4, code 0", intel(0xF43), {{0x2C, 0x0E000000}}, {266666667, 14, 0, 14, 3733333338}},
        {"model 2, a code of later models", intel(0xF29), {{0x2C, 0x0E040000}}, {none, 14, 0, 14, none}},
        {"model 0: bus clock only", intel(0xF0A, "Pentium(R) 4 CPU 1.70GHz"), {{0x2C, 0}},
         {100 * MHz, 0, 0, 17, 1700 * MHz}},
        {"Core 2 P8400, accelerated", intel(0x10676),
         {{0xCD, 0x1E0}, {0x198, 0x0617092706000927}, {0x17, 0x001C0000B9F4C822}}, {266666667, 9, 0, 9, 2400000003}},
        {"Core 2, half a step", intel(0x10676), {{0xCD, 4}, {0x198, 0x0000482200000616}},
         {333333333, 6, 0, 8.5, 2833333331}},
        {"Core 2 without a status", intel(0x10676), {{0xCD, 0}, {0x17, 0x001C0000B9F4C822}},
         {266666667, 0, 0, 8, 2133333336}},
        {"Core Duo", intel(0x6EC), {{0xCD, 3}, {0x198, 0x00000D2800000613}}, {166666667, 6, 0, 13, 2166666671}},
        {"Core 2, a code that is none", intel(0x6F6), {{0xCD, 7}, {0x198, 0x0000092700000613}}, {none, 6, 0, 9, none}},
        {"Atom", intel(0x106C2), {{0xCD, 1}, {0x198, 0x00000C1A00000616}}, {133333333, 6, 0, 12, 1599999996}},
        {"Atom, a slow bus", intel(0x106C2), {{0xCD, 7}, {0x198, 0x00000C1A00000C16}},
         {83333333, 12, 0, 12, 999999996}},
        {"Silvermont", intel(0x30673), {{0xCD, 0}, {0xCE, 0x1800}, {0x198, 0x1000}}, {83333333, 16, 0, 24, 1999999992}},
        {"Airmont", intel(0x406C3), {{0xCD, 8}, {0xCE, 0x1400}, {0x198, 0x1400}}, {87500000, 20, 0, 20, 1750 * MHz}},
        {"Westmere i5-650", withTurbo(0x20652, 2), {{0xCE, 0x0000090008051800}, {0x198, 0x19}, {0x1AD, 0x191A}},
         {133333333, 25, 9, 24, 3199999992, 26.0, 3466666658}},
        {"Sandy Bridge i5-2400, turbo switched off", intel(0x206A7),
         {{0xCE, 0x0000100078011F00}, {0x198, 0x0000280800001F00}, {0x1AD, 0x20212122}},
         {100 * MHz, 31, 16, 31, 3100 * MHz}},
        {"Haswell i7-4770, turbo switched on", withTurbo(0x306C3, 4),
         {{0xCE, 0x00080838F3012200}, {0x198, 0x00001FC300002200}, {0x1AD, 0x25262727}},
         {100 * MHz, 34, 8, 34, 3400 * MHz, 39.0, 3900 * MHz}},
        {"Skylake Xeon Bronze 3104: no turbo", intel(0x50654),
         {{0xCE, 0x0007082CF3811100}, {0x198, 0x0000150500000800}, {0x1AD, 0x1111111111111111}},
         {100 * MHz, 8, 8, 17, 1700 * MHz}},
        {"of no class, with leaf 0x16", withTurbo(0x906A4, 4).maxLeaf(0x16).leaf(0x16, {1500, 4400, 100, 0}),
         {{0xCE, 0x0004043DF0810F00}, {0x198, 0x1E00}}, {100 * MHz, 30, 4, 15, 1500 * MHz, 44.0, 4400 * MHz}},
        {"registers before leaf 0x16", intel(0x906E9).maxLeaf(0x16).leaf(0x16, {4200, 4200, 100, 0}),
         {{0xCE, 0x0000080000002900}}, {100 * MHz, 0, 8, 41, 4100 * MHz}},
    };
    // clang-format on
    for (Case row : cases) {
        SCOPED_TRACE(row.what);
        row.processor.recorded.msrs = row.msrs;
        expectMetrics(row.processor, row.expected);
    }
}

TEST(IntelSpeed, makes_do_with_cpuid) {
    const auto withTurbo = [](std::uint32_t eax) {
        return IntelProcessor(0x906E9, "CPU @ 4.20GHz").maxLeaf(0x16).leaf(6, {eax, 0, 0, 0});
    };
    // clang-format off
    const struct {
        const char* what;
        IntelProcessor processor;
        Expected expected;
    } cases[] = {
        {"leaf 0x16 with turbo", withTurbo(2).leaf(0x16, {3600, 4500, 100, 0}),
         {100 * MHz, 0, 0, 36, 3600 * MHz, 45.0, 4500 * MHz}},
        {"leaf 0x16, turbo off", withTurbo(0).leaf(0x16, {3600, 4500, 100, 0}), {100 * MHz, 0, 0, 36, 3600 * MHz}},
        {"leaf 0x16, upper halves reserved", withTurbo(2).leaf(0x16, {0xFFFF0E10, 0xFFFF0E10, 0xFFFF0064, 0}),
         {100 * MHz, 0, 0, 36, 3600 * MHz}},
        {"leaf 0x16 of zeros: the name", withTurbo(2), {100 * MHz, 0, 0, 42, 4200 * MHz}},
        {"leaf 0x15: 24 MHz * 216 / 2", withTurbo(0).leaf(0x15, {2, 216, 24000000, 0}),
         {100 * MHz, 0, 0, 26, 2592 * MHz}},
        {"leaf 0x15 without a denominator", withTurbo(0).leaf(0x15, {0, 216, 24000000, 0}),
         {100 * MHz, 0, 0, 42, 4200 * MHz}},
        {"no bus clock: the name alone", IntelProcessor(0x6D6, "Pentium(R) M processor 1.60GHz"),
         {none, 0, 0, 0, 1600 * MHz}},
    };
    // clang-format on
    for (const auto& row : cases) {
        SCOPED_TRACE(row.what);
        expectMetrics(row.processor, row.expected);
    }
    EXPECT_FALSE(metricsOf(IntelProcessor(0x6D6)));
}

TEST(AmdSpeed, comes_from_the_registers_of_the_family) {
    constexpr std::uint64_t on = 0x8000000000000000;
    const auto withBoost = [](std::uint32_t signature) {
        return AmdProcessor(signature).leaf(0x80000007, {0, 0, 0, 1u << 9});
    };
    const Msrs fx8150 = {{0xC0010061, 0x40},        {0xC0010064, on | 0x161A}, {0xC0010065, on | 0x1617},
                         {0xC0010066, on | 0x2C14}, {0xC0010067, on | 0x3611}, {0xC0010068, on | 0x4A0B},
                         {0xC0010069, on | 0x6005}, {0xC001006A, on | 0x704C}, {0xC001006B, 0},
                         {0xC0010071, 0x64000161A}, {0xC0010015, 0x01001011}};
    Msrs fx8150BoostOff = fx8150;
    fx8150BoostOff[0xC0010015] |= 1u << 25;
    struct Case {
        const char* what;
        AmdProcessor processor;
        Msrs msrs;
        Expected expected;
    };
    // clang-format off
    const Case cases[] = {
        {"Athlon 64 2800+", AmdProcessor(0xF4A), {{0xC0010042, 0x00000200000A0A0A}}, {200 * MHz, 9, 0, 9, 1800 * MHz}},
        {"an unlimited Athlon 64", AmdProcessor(0xF58), {{0xC0010042, 0x002A0E02}}, {200 * MHz, 5, 0, 11, 2200 * MHz}},
        {"Phenom II 940", AmdProcessor(0x100F42),
         {{0xC0010061, 0x30}, {0xC0010064, 0x8000001A3C00200E}, {0xC0010065, 0x800001C33C003007},
          {0xC0010066, 0x800001B63C004002}, {0xC0010067, 0x800001723C005840}, {0xC0010068, 0x40000000},
          {0xC0010071, 0x008000033C00200E}}, {200 * MHz, 15, 4, 15, 3000 * MHz}},
        {"family 0x11", AmdProcessor(0x200F31), {{0xC0010064, on | 0x0E}, {0xC0010065, on | 0x4E}, {0xC0010071, 0x4E}},
         {200 * MHz, 5.5, 5.5, 11, 2200 * MHz}},
        {"family 0x12", AmdProcessor(0x300F10),
         {{0xC0010064, on | 0x0D0}, {0xC0010065, on | 0x081}, {0xC0010071, 0x081}},
         {100 * MHz, 16, 16, 29, 2900 * MHz}},
        {"family 0x12, a divisor that is none", AmdProcessor(0x300F10), {{0xC0010064, on | 0x0D0}, {0xC0010071, 0x08F}},
         {100 * MHz, 0, 29, 29, 2900 * MHz}},
        {"E-350", AmdProcessor(0x500F10),
         {{0xC0010061, 0x20}, {0xC0010064, 0x8000012600002810}, {0xC0010065, 0x8000011A00002A12},
          {0xC0010066, 0x8000028C00005430}, {0xC0010067, 0}, {0xC0010071, 0x002000A25E002810}},
         {100 * MHz, 16, 8, 16, 1600 * MHz}},
        {"FX-8150", withBoost(0x600F12), fx8150, {200 * MHz, 21, 7, 18, 3600 * MHz, 21.0, 4200 * MHz}},
        {"FX-8150, boost switched off", withBoost(0x600F12), fx8150BoostOff, {200 * MHz, 21, 7, 18, 3600 * MHz}},
        {"a later family 0x15", AmdProcessor(0x610F01), {{0xC0010064, on | 0x16}, {0xC0010071, 0x16}},
         {100 * MHz, 38, 38, 38, 3800 * MHz}},
        {"Ryzen 5 1500X", withBoost(0x800F11),
         {{0xC0010061, 0x20}, {0xC0010063, 1}, {0xC0010064, 0x8000000048CC888C}, {0xC0010065, 0x8000000047900878},
          {0xC0010066, 0x8000000043DA907C}, {0xC0010067, 0}}, {100 * MHz, 30, 15.5, 35, 3500 * MHz}},
        {"family 0x17, no divisor, no such state", AmdProcessor(0x800F11), {{0xC0010063, 7}, {0xC0010064, on | 0x8C}},
         {none}},
        {"family 0x1A", AmdProcessor(0xB40F40), {{0xC0010063, 0}, {0xC0010064, on | 0x348}},
         {100 * MHz, 42, 42, 42, 4200 * MHz}},
    };
    // clang-format on
    for (Case row : cases) {
        SCOPED_TRACE(row.what);
        row.processor.recorded.msrs = row.msrs;
        if (row.expected.busClock) {
            expectMetrics(row.processor, row.expected);
        } else {
            EXPECT_FALSE(metricsOf(row.processor)) << "nothing is known";
        }
    }
    EXPECT_FALSE(metricsOf(AmdProcessor(0x6A0))) << "a family without such registers";
    EXPECT_FALSE(metricsOf(AmdProcessor(0x800F11))) << "no driver";
}

// MPERF and APERF that move on with every reading, by 1000 and by 1250 counts.
class RunningCounters : public libKernelMode::DriverBackend {
  public:
    explicit RunningCounters(libKernelMode::DriverBackend& recorded) : m_recorded(recorded) {}
    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string& reason) override {
        return std::make_unique<Access>(*this, m_recorded.openMsr(reason));
    }

  private:
    struct Access : libKernelMode::MsrAccess {
        Access(RunningCounters& counters, std::unique_ptr<MsrAccess> recorded)
            : owner(counters), others(std::move(recorded)) {}
        bool read(std::uint32_t msr, std::uint64_t& value) override {
            if (msr != 0xE7 && msr != 0xE8) {
                return others->read(msr, value);
            }
            value = msr == 0xE7 ? owner.m_mperf += 1000 : owner.m_aperf += 1250;
            return true;
        }
        bool write(std::uint32_t, std::uint64_t) override { return false; }
        RunningCounters& owner;
        std::unique_ptr<MsrAccess> others;
    };

    DriverBackend& m_recorded;
    std::uint64_t m_mperf = 0;
    std::uint64_t m_aperf = 0;
};

TEST(EffectiveSpeed, is_measured_where_the_counters_are) {
    for (const std::uint32_t ecx : {1u, 0u}) {
        IntelProcessor processor(0x306C3);
        processor.leaf(6, {0, 0, ecx, 0}).msr(0xCE, 0x2200);
        OneProcessor one(processor.recorded);
        RunningCounters counters(one.machine.drivers());
        libKernelMode::setDriverBackend(&counters); // the machine's scope puts the earlier one back
        x86_speed_metrics metrics;
        ASSERT_TRUE(one.cpu.getSpeedMetrics(metrics));
        EXPECT_EQ(metrics.effectiveSpeed, ecx != 0 ? optional<std::uint64_t>(4250 * MHz) : none); // 3400 * 1.25
        EXPECT_EQ(metrics.effectiveMultiplier, ecx != 0 ? 42.5 : 0);
    }
}

TEST(AmdSpeed, is_read_anew_each_time) {
    AmdProcessor processor(0x800F11);
    processor.recorded.msrs = {{0xC0010063, 0}, {0xC0010064, 0x8000000048CC888C}};
    const OneProcessor one(processor.recorded);
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
        OneProcessor one(AmdProcessor(0xF4A).leaf(0x80000007, {0, 0, 0, invariant}).recorded);
        x86_speed_metrics metrics;
        EXPECT_EQ(one.cpu.getSpeedMetrics(metrics), invariant == 0);
        EXPECT_EQ(metrics.currentSpeed, invariant == 0 ? optional<std::uint64_t>(1000 * MHz) : none);
    }
    for (const auto& [signature, msr] : {std::pair{0xF4Au, 0xC0010042u}, std::pair{0x100F42u, 0xC0010071u}}) {
        AmdProcessor processor(signature);
        processor.recorded.msrs = {{msr, 0x0A0A}};
        OneProcessor one(processor.recorded);
        x86_speed_metrics metrics;
        EXPECT_TRUE(one.cpu.getSpeedMetrics(metrics));
        one.machine.faults().counterFrequencyUnreadable = true;
        EXPECT_FALSE(one.cpu.getSpeedMetrics(metrics));
    }
}

} // namespace
