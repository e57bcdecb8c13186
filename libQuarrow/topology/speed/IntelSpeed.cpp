#include <libQuarrow/topology/speed/IntelSpeed.h>

#include <libQuarrow/cpu/x86/decode/x86_identification.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/intel/IntelIdentity.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_speed.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_thermal.h>
#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>
#include <libQuarrow/topology/decode/LeafReader.h>
#include <libQuarrow/topology/speed/IntelTurbo.h>
#include <libQuarrow/topology/speed/intel_models.h>

#include <cmath>

namespace libQuarrow::topology {
namespace {

constexpr std::uint32_t msrPlatformInfo = 0xCE;       // bit 30: the offset in MSR 0x1A2 is there
constexpr std::uint32_t msrTemperatureTarget = 0x1A2; // bits 23 to 16 degrees Celsius, above them the offset
constexpr std::uint32_t msrHwpCapabilities = 0x771;   // IA32_HWP_CAPABILITIES; a fault while HWP is switched off

// Reads all through another reader, also what ask() has to know of the highest leaf: that one remembers what it read.
class PassingReader final : public cpu::CpuidReader {
  public:
    explicit PassingReader(cpu::CpuidReader& source) : m_source(source) {}
    cpu::cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf) override { return m_source.read(leaf, subleaf); }
    std::uint64_t xcr0() override { return m_source.xcr0(); }
    bool hasCpuid() override { return m_source.hasCpuid(); }

  private:
    cpu::CpuidReader& m_source;
};

cpu::IntelIdentity identityOf(const SpeedSources& sources) {
    cpu::x86_cpu_signature signature;
    cpu::decodeSignature(sources.cpuid, signature);
    return {signature, cpu::decodeCpuName(sources.cpuid), sources.readMsr};
}

SpeedFigure figureOf(double multiplier, const boost::optional<std::uint64_t>& hertz) {
    SpeedFigure figure;
    if (multiplier != 0) {
        figure.multiplier = multiplier;
    }
    if (hertz && *hertz != 0) {
        figure.hertz = *hertz;
    }
    return figure;
}

void readThrottling(const SpeedSources& sources, ProcessorLimits& limits) {
    const ProcessorIdentity& identity = sources.model.identity;
    std::uint32_t celsius = 0;
    if (isIntelBeforeNehalem(identity.family, identity.model)) {
        if (cpu::intelTccTemperature(identityOf(sources), sources.readMsr, celsius) && celsius != 0) {
            limits.throttleCelsius = celsius;
        }
        return;
    }
    std::uint64_t target = 0;
    if (!sources.readMsr(msrTemperatureTarget, target) || cpu::bits(target, 23, 16) == 0) {
        return; // 0: a register that was left empty
    }
    limits.throttleCelsius = cpu::bits(target, 23, 16);
    const IntelModelRow model = intelModelRow(identity.family, identity.model);
    std::uint64_t platform = 0;
    const bool told =
        model.offset == IntelOffset::always || (sources.readMsr(msrPlatformInfo, platform) && cpu::bit(platform, 30));
    if (told && model.offset != IntelOffset::none) {
        limits.throttleOffsetCelsius = cpu::bits(target, model.offset == IntelOffset::fourBits ? 27 : 29, 24);
    }
}

} // namespace

bool isEfficientIntelCore(const SpeedSources& sources) {
    return sources.model.identity.coreType && sources.model.placing.kind == CoreKind::efficient;
}

void readIntelSpeed(const SpeedSources& sources, ProcessorSpeed& speed) {
    cpu::IntelIdentity intel = identityOf(sources);
    cpu::x86_speed_metrics metrics;
    PassingReader cpuid(sources.cpuid);
    cpu::readIntelSpeed(intel, intelCoresOfPackage(sources), cpuid, sources.readMsr, metrics);
    // Processors newer than the product classes. Where they have ratios, these are of 100 MHz.
    if (!metrics.busClock && intel.type() == 0 && (metrics.maxMultiplier != 0 || metrics.currentMultiplier != 0)) {
        cpu::setBusClock(100, metrics);
    }
    if (metrics.busClock && *metrics.busClock != 0) {
        speed.busClockHertz = *metrics.busClock;
    }
    speed.current = figureOf(metrics.currentMultiplier, metrics.currentSpeed);
    if (!isEfficientIntelCore(sources)) {
        speed.lowest = figureOf(metrics.minMultiplier, metrics.lowestSpeed);
        speed.base = figureOf(metrics.maxMultiplier, metrics.highestSpeed);
    }
    const ProcessorIdentity& identity = sources.model.identity;
    if (isIntelBeforeNehalem(identity.family, identity.model)) {
        speed.turbo = figureOf(metrics.turboRatio.value_or(0), metrics.turboSpeed);
        return;
    }
    const std::vector<TurboRatio> turbo = readIntelTurbo(sources);
    if (!turbo.empty()) {
        speed.turbo.multiplier = turbo.front().ratio;
        // The bus clock need not be a whole number of hertz: a multiple of it is nearer to what it is.
        if (metrics.highestSpeed && metrics.maxMultiplier != 0) {
            const double bus = static_cast<double>(*metrics.highestSpeed) / metrics.maxMultiplier;
            speed.turbo.hertz = static_cast<std::uint64_t>(std::llround(turbo.front().ratio * bus));
        } else if (speed.busClockHertz) {
            speed.turbo.hertz = turbo.front().ratio * *speed.busClockHertz;
        }
    }
}

std::uint64_t intelNamedHertz(const SpeedSources& sources) {
    std::uint32_t megahertz = 0;
    const bool named =
        !isEfficientIntelCore(sources) && cpu::intelDesignedFrequency(cpu::decodeCpuName(sources.cpuid), megahertz);
    return named ? megahertz * std::uint64_t{1'000'000} : 0;
}

void readIntelLimits(const SpeedSources& sources, ProcessorLimits& limits) {
    const ProcessorIdentity& identity = sources.model.identity;
    readThrottling(sources, limits);
    if (isIntelBeforeNehalem(identity.family, identity.model)) {
        return;
    }
    limits.turboRatios = readIntelTurbo(sources);
    std::uint64_t levels = 0;
    if (identity.features.contains("hwp") && sources.readMsr(msrHwpCapabilities, levels) && levels != 0) {
        limits.levels = {cpu::bits(levels, 7, 0), cpu::bits(levels, 15, 8), cpu::bits(levels, 23, 16),
                         cpu::bits(levels, 31, 24)};
    }
}

} // namespace libQuarrow::topology
