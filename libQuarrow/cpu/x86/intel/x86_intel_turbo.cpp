// How far an Intel processor's multiplier may rise, by the number of active cores.

#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <libQuarrow/cpu/x86/intel/x86_intel_log.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

#include <algorithm>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint32_t thermalAndPowerLeaf = 6;    // CPUID; EAX bit 1: turbo is there
constexpr std::uint32_t msrTurboRatioLimit = 0x1AD; // MSR_TURBO_RATIO_LIMIT, _LIMIT1 and so on
constexpr std::uint32_t ratiosPerRegister = 8;      // a byte for 1, 2, 3 ... active cores, lowest first

struct TurboLayout {
    std::uint32_t ratios = 6;
    std::uint32_t registers = 1; // 4 at most
};

// False for a class that has no such registers.
bool turboLayout(const x86_intel_info& info, TurboLayout& layout) {
    const boost::optional<bool>& serverDie = info.isServerDie();
    if (info.isType(x86_intel_info::NehalemFamily)) {
        return true; // keeps the default of 6, on the parts with 8 and 10 cores too: meant so
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
            return true; // keeps the default of 6, though client dies have 4 cores at most: meant so
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

// Whether the table could be read; it may hold no ratio all the same.
bool x86_intel_info::readTurboRatioLimits(zel::Array<IntelTurboRatioLimit>& limits) const {
    limits.clear();
    const x86_pin pin(*m_cpu);
    std::uint32_t eax = 0;
    m_cpu->callCPUID(thermalAndPowerLeaf, &eax, nullptr, nullptr, nullptr);
    if ((eax >> 1 & 1) == 0) {
        intelLog().log(zel::LogDiagnostic, __LINE__, "Intel Turbo Boost not supported on CPU");
        return false;
    }
    TurboLayout layout;
    if (!turboLayout(*this, layout)) {
        return false;
    }
    std::uint64_t words[4] = {};
    for (std::uint32_t i = 0; i < layout.registers; ++i) {
        std::uint64_t value = 0;
        if (m_cpu->callRDMSR(msrTurboRatioLimit + i, value)) {
            words[i] = value;
        } else if (i == 0) {
            return false;
        }
    }
    const std::uint32_t count = std::min(layout.ratios, m_cpu->getNumberCoresPerPhysicalPackage());
    for (std::uint32_t n = 0; n < count; ++n) {
        const std::uint64_t word = words[n / ratiosPerRegister];
        const auto ratio = static_cast<std::uint32_t>(word >> n % ratiosPerRegister * 8 & 0xFF);
        if (ratio != 0) {
            limits.append({n + 1, ratio});
        }
    }
    return true;
}

bool x86_intel_info::getTurboRatioLimits(zel::Array<IntelTurboRatioLimit>& limits) const {
    return readTurboRatioLimits(limits) && !limits.isEmpty();
}

// `busClock` and `maxSpeed` in Hz. `maxSpeed` is written only when there is a ratio.
bool x86_intel_info::getMaxTurboRatioAndSpeed(std::uint64_t busClock, std::uint32_t& maxRatio,
                                              std::uint64_t& maxSpeed) const {
    maxRatio = 0;
    zel::Array<IntelTurboRatioLimit> limits;
    if (!readTurboRatioLimits(limits)) {
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
