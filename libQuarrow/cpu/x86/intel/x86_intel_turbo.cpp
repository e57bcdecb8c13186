// How far an Intel processor's multiplier may rise, by the number of active cores.

#include <libQuarrow/cpu/x86/intel/x86_intel_turbo.h>

#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/intel/IntelIdentity.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_log.h>

#include <algorithm>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint32_t msrTurboRatioLimit = 0x1AD; // MSR_TURBO_RATIO_LIMIT, _LIMIT1 and so on
constexpr std::uint32_t ratiosPerRegister = 8;      // a byte for 1, 2, 3 ... active cores, lowest first

struct TurboLayout {
    std::uint32_t ratios = 6;
    std::uint32_t registers = 1; // 4 at most
};

// False for a class that has no such registers.
bool turboLayout(const IntelIdentity& info, TurboLayout& layout) {
    const boost::optional<bool>& serverDie = info.isServerDie();
    if (info.isType(x86_intel_info::NehalemFamily)) {
        return true; // the default of 6 on the parts with 8 and 10 cores too, whose table has never been told further
    }
    if (info.isType(x86_intel_info::SandyBridgeFamily)) {
        layout.ratios = 8;
        return true;
    }
    if (info.isType(x86_intel_info::HaswellFamily)) {
        layout.ratios = 4;
        return true;
    }
    if (info.isType(x86_intel_info::IvyBridgeFamily)) {
        layout.ratios = serverDie == false ? 8 : 15;
        layout.registers = serverDie == true ? 2 : 1;
        return true;
    }
    if (info.isType(x86_intel_info::BroadwellFamily)) {
        if (serverDie == false) {
            return true; // keeps the default of 6, though client dies have 4 cores at most
        }
        layout.ratios = 24;
        layout.registers = serverDie == true ? 4 : 1;
        return true;
    }
    if (info.isType(x86_intel_info::Skylake | x86_intel_info::KabyLake)) {
        layout.ratios = 4;
        return true;
    }
    return false;
}

} // namespace

bool readIntelTurboRatioLimits(const IntelIdentity& intel, std::uint32_t cores, CpuidReader& cpuid,
                               const MsrReader& readMsr, zel::Array<IntelTurboRatioLimit>& limits) {
    limits.clear();
    cpuid_args power;
    if (!cpuid.ask(PowerLeaf::number, 0, power) || !PowerLeaf(power).turbo) {
        intelLog().log(zel::LogDiagnostic, __LINE__, "Intel Turbo Boost not supported on CPU");
        return false;
    }
    TurboLayout layout;
    if (!turboLayout(intel, layout)) {
        return false;
    }
    std::uint64_t words[4] = {};
    for (std::uint32_t i = 0; i < layout.registers; ++i) {
        std::uint64_t value = 0;
        if (readMsr(msrTurboRatioLimit + i, value)) {
            words[i] = value;
        } else if (i == 0) {
            return false;
        }
    }
    const std::uint32_t count = std::min(layout.ratios, cores);
    for (std::uint32_t n = 0; n < count; ++n) {
        const unsigned int lowest = n % ratiosPerRegister * 8;
        const std::uint32_t ratio = bits(words[n / ratiosPerRegister], lowest + 7, lowest);
        if (ratio != 0) {
            limits.append({n + 1, ratio});
        }
    }
    return true;
}

bool findIntelMaxTurbo(const IntelIdentity& intel, std::uint32_t cores, CpuidReader& cpuid, const MsrReader& readMsr,
                       std::uint64_t busClock, std::uint32_t& maxRatio, std::uint64_t& maxSpeed) {
    maxRatio = 0;
    zel::Array<IntelTurboRatioLimit> limits;
    if (!readIntelTurboRatioLimits(intel, cores, cpuid, readMsr, limits)) {
        return false;
    }
    intelLog().log(zel::LogTrace, __LINE__, "Cores Active:  Max Ratio:  Max Speed:");
    for (const IntelTurboRatioLimit& limit : limits) {
        const std::uint64_t speed = limit.ratio * busClock;
        intelLog().log(zel::LogTrace, __LINE__,
                       zel::String::SprintfFormat("%-13u  %-10u  %1.3f MHz", limit.activeCores, limit.ratio,
                                                  static_cast<double>(speed) / 1000000.0));
        if (limit.ratio > maxRatio) {
            maxRatio = limit.ratio;
            maxSpeed = speed;
        }
    }
    return maxRatio != 0;
}

} // namespace libQuarrow::cpu
