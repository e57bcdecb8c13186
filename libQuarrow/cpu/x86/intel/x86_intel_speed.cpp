// Bus clock and multipliers of Intel processors. Registers are those of Intel's manual, volume 4 (the tables of
// model-specific registers, one for each generation).

#include <libQuarrow/cpu/x86/intel/x86_intel_speed.h>

#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/intel/IntelIdentity.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_bus_clocks.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_turbo.h>
#include <libQuarrow/cpu/x86/speed/x86_speed_reader.h>

#include <cmath>

namespace libQuarrow::cpu {
namespace {

using Type = x86_intel_info;

constexpr std::uint32_t msrEbcFrequencyId = 0x2C; // Pentium 4: bus clock and the multiplier that it was started with
constexpr std::uint32_t msrFsbFreq = 0xCD;        // Core to Airmont: bus clock
constexpr std::uint32_t msrPlatformInfo = 0xCE;   // Nehalem and later, Silvermont: highest and lowest multiplier
constexpr std::uint32_t msrPerfStatus = 0x198;    // IA32_PERF_STATUS: what the processor is set to

// One reading of one processor. Bus clocks are in MHz, 0 where they are not known.
class SpeedRegisters {
  public:
    SpeedRegisters(IntelIdentity& intel, std::uint32_t cores, CpuidReader& cpuid, const MsrReader& readMsr,
                   x86_speed_metrics& metrics)
        : m_intel(intel), m_cores(cores), m_cpuid(cpuid), m_readMsr(readMsr), m_metrics(metrics) {}

    double readPentium4();
    double readFrontSideBus();
    double readSilvermont();
    double readPlatformInfo();

  private:
    double pentium4BusClock(std::uint32_t code, double multiplier) const;
    double coreMultiplier(std::uint32_t state) const;

    IntelIdentity& m_intel;
    const std::uint32_t m_cores;
    CpuidReader& m_cpuid;
    const MsrReader& m_readMsr;
    x86_speed_metrics& m_metrics;
};

template <std::size_t count>
double busClockOf(std::uint32_t code, const IntelBusClock (&clocks)[count]) {
    for (const IntelBusClock& row : clocks) {
        if (row.code == code) {
            return row.megahertz;
        }
    }
    return 0;
}

// Model 2's last part, the Extreme Edition of 3.46 GHz, has the bus of later models and their code for it. Nothing but
// the frequency in its name tells it from those that the manual means by code 0.
double SpeedRegisters::pentium4BusClock(std::uint32_t code, double multiplier) const {
    constexpr double roundingOfNames = 10;
    if (m_intel.signature().displayModel != 2) {
        return busClockOf(code, intelPentium4BusClocks);
    }
    const double later = busClockOf(code, intelPentium4BusClocks);
    const bool named = code == 0 && std::abs(multiplier * later - m_intel.designedMHz()) < roundingOfNames;
    return named ? later : busClockOf(code, intelPentium4Model2BusClocks);
}

// MSR_EBC_FREQUENCY_ID. Models 0 and 1 have only their bus clock in it, in bits 23 to 21.
double SpeedRegisters::readPentium4() {
    std::uint64_t id = 0;
    if (!m_readMsr(msrEbcFrequencyId, id)) {
        return 0;
    }
    if (m_intel.signature().displayModel < 2) {
        return bits(id, 23, 21) == 0 ? 100 : 0;
    }
    m_metrics.maxMultiplier = bits(id, 31, 24);
    m_metrics.currentMultiplier = m_metrics.maxMultiplier;
    std::uint64_t status = 0;
    if (readLeaf<VersionLeaf>(m_cpuid).est && m_readMsr(msrPerfStatus, status) && bits(status, 15, 8) != 0) {
        m_metrics.currentMultiplier = bits(status, 15, 8);
    }
    return pentium4BusClock(bits(id, 18, 16), m_metrics.maxMultiplier);
}

// A state as Core and Core 2 encode it: bits 12 to 8, and on 45 nm parts half a step more with bit 14. The manual
// describes it in MSR_PERF_STATUS bits 46 to 40 (the highest state); bits 15 to 0 there (the present one) and in
// MSR 0x17 (the one that the part is qualified for) are laid out alike.
double SpeedRegisters::coreMultiplier(std::uint32_t state) const {
    const std::uint32_t model = m_intel.signature().displayModel;
    const bool hasHalves = model == 0x17 || model == 0x1D;
    return bits(state, 12, 8) + (hasHalves && bit(state, 14) ? 0.5 : 0.0);
}

// Core, Core 2 and the first Atoms. No register of theirs is documented to hold the lowest multiplier.
double SpeedRegisters::readFrontSideBus() {
    const bool core2 = m_intel.isType(Type::Core2Family);
    std::uint64_t value = 0;
    double busClock = 0;
    if (m_readMsr(msrFsbFreq, value)) {
        const std::uint32_t code = bits(value, 2, 0);
        busClock = core2 || m_intel.isType(Type::CoreDuoSoloFamily) ? busClockOf(code, intelCoreBusClocks)
                                                                    : busClockOf(code, intelAtomBusClocks);
    }
    if (m_readMsr(msrPerfStatus, value)) {
        m_metrics.maxMultiplier = coreMultiplier(bits(value, 47, 32));
        // Bit 15: the bus runs at half its clock, in the lowest state of mobile Core 2. The multiplier is told of the
        // whole clock.
        m_metrics.currentMultiplier = coreMultiplier(bits(value, 15, 0)) / (core2 && bit(value, 15) ? 2 : 1);
    }
    // MSR 0x17: what the part is qualified for, and sold with. A mobile Core 2 may be set above that by its dynamic
    // acceleration, which is its turbo.
    const bool mayAccelerate = core2 && m_metrics.maxMultiplier != 0;
    if (m_metrics.maxMultiplier == 0 || mayAccelerate) {
        const boost::optional<std::uint64_t>& id = m_intel.platformId.get(m_readMsr);
        const double qualified = id ? coreMultiplier(bits(*id, 15, 0)) : 0;
        if (m_metrics.maxMultiplier == 0) {
            m_metrics.maxMultiplier = qualified;
        } else if (id && IntelPlatformId::isMobile(*id) && qualified != 0 && qualified < m_metrics.maxMultiplier) {
            m_metrics.turboRatio = m_metrics.maxMultiplier;
            m_metrics.maxMultiplier = qualified;
        }
    }
    return busClock;
}

double SpeedRegisters::readSilvermont() {
    std::uint64_t value = 0;
    const double busClock = m_readMsr(msrFsbFreq, value) ? busClockOf(bits(value, 3, 0), intelSilvermontBusClocks) : 0;
    if (m_readMsr(msrPlatformInfo, value)) {
        m_metrics.maxMultiplier = bits(value, 15, 8);
    }
    if (m_readMsr(msrPerfStatus, value)) {
        m_metrics.currentMultiplier = bits(value, 15, 8);
    }
    return busClock;
}

// MSR_PLATFORM_INFO: bits 15 to 8 are the highest multiplier without turbo, bits 47 to 40 the lowest ("maximum
// efficiency"). The current one is the whole low byte of IA32_PERF_STATUS up to Westmere, the next byte after.
double SpeedRegisters::readPlatformInfo() {
    double busClock = 0;
    for (const IntelReferenceClock& row : intelReferenceClocks) {
        if (m_intel.isType(row.types)) {
            busClock = row.megahertz;
        }
    }
    std::uint64_t value = 0;
    if (m_readMsr(msrPlatformInfo, value)) {
        m_metrics.maxMultiplier = bits(value, 15, 8);
        m_metrics.minMultiplier = bits(value, 47, 40);
    }
    if (m_readMsr(msrPerfStatus, value)) {
        m_metrics.currentMultiplier = m_intel.isType(Type::NehalemFamily) ? bits(value, 7, 0) : bits(value, 15, 8);
    }
    std::uint32_t ratio = 0;
    std::uint64_t speed = 0;
    if (findIntelMaxTurbo(m_intel, m_cores, m_cpuid, m_readMsr, hertzOf(busClock), ratio, speed)) {
        m_metrics.turboRatio = ratio;
    }
    return busClock;
}

} // namespace

void readIntelSpeed(IntelIdentity& intel, std::uint32_t cores, CpuidReader& cpuid, const MsrReader& readMsr,
                    x86_speed_metrics& metrics) {
    constexpr std::uint32_t platformInfoTypes = Type::NehalemFamily | Type::SandyBridgeFamily | Type::IvyBridgeFamily |
                                                Type::HaswellFamily | Type::BroadwellFamily | Type::Skylake |
                                                Type::KabyLake;
    SpeedRegisters registers(intel, cores, cpuid, readMsr, metrics);
    cpuid_args crystal;
    double busClock = 0;
    if (intel.isType(Type::Pentium4Family)) {
        busClock = registers.readPentium4();
    } else if (intel.isType(Type::CoreDuoSoloFamily | Type::Core2Family | Type::Atom | Type::CloverTrail)) {
        busClock = registers.readFrontSideBus();
    } else if (intel.isType(Type::Silvermont | Type::Braswell)) {
        busClock = registers.readSilvermont();
    } else if (intel.isType(platformInfoTypes) || cpuid.ask(CrystalLeaf::number, 0, crystal)) {
        // Newer processors than the product classes know have MSR_PLATFORM_INFO where they have the crystal leaf.
        busClock = registers.readPlatformInfo();
    }
    setBusClock(busClock, metrics);
}

} // namespace libQuarrow::cpu
