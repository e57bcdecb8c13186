// At which temperature the thermal control circuit of an Intel processor acts.

#include <libQuarrow/cpu/x86/intel/x86_intel_thermal.h>

#include <libQuarrow/DefectLog.h>
#include <libQuarrow/cpu/x86/intel/IntelIdentity.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_log.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_tcc_activation.h>

#include <algorithm>

namespace libQuarrow::cpu {
namespace {

using Type = x86_intel_info;

constexpr std::uint32_t msrThermalChoice = 0xEE;      // Core, Core 2
constexpr std::uint32_t msrTemperatureTarget = 0x1A2; // MSR_TEMPERATURE_TARGET; bits 23 to 16: degrees Celsius

// MSR 0xEE bit 30: the lower or the higher of two temperatures.
bool chooseTemperature(const MsrReader& readMsr, std::uint32_t lower, std::uint32_t higher,
                       std::uint32_t& temperature) {
    std::uint64_t value = 0;
    if (!readMsr(msrThermalChoice, value)) {
        return false;
    }
    temperature = bit(value, 30) ? lower : higher;
    return true;
}

bool containsAny(const zel::String& text, const char* fragments) {
    const zel::Array<zel::String> list = zel::String(fragments).split(";");
    return std::any_of(list.begin(), list.end(),
                       [&text](const zel::String& fragment) { return text.find(fragment) != zel::String::npos; });
}

// What the processor's class has for it: a register or a list. One that fails leads to no other.
bool readTemperature(const IntelIdentity& intel, const MsrReader& readMsr, std::uint32_t& temperature) {
    if (intel.isType(Type::CoreDuoSoloFamily) || (intel.isType(Type::Merom) && intel.signature().signature >= 0x6F4)) {
        return chooseTemperature(readMsr, 85, 100, temperature);
    }
    if (intel.isType(Type::Penryn)) {
        return chooseTemperature(readMsr, 90, 105, temperature);
    }
    if (intel.isType(Type::Wolfdale)) {
        return intelWolfdaleTccTemperature(intel, temperature);
    }
    if (intel.isType(Type::NehalemFamily | Type::SandyBridgeFamily | Type::IvyBridgeFamily | Type::HaswellFamily |
                     Type::BroadwellFamily | Type::Skylake | Type::Silvermont | Type::Braswell | Type::KabyLake)) {
        std::uint64_t value = 0;
        if (!readMsr(msrTemperatureTarget, value)) {
            return false;
        }
        temperature = bits(value, 23, 16);
        return true;
    }
    if (intel.isType(Type::Atom | Type::CloverTrail)) {
        return intelAtomTccTemperature(intel, temperature);
    }
    return false;
}

bool findTemperature(const IntelIdentity& intel, std::uint32_t& temperature) {
    bool found = false;
    // To the end: of several rows that fit, the last one decides.
    for (const TccActivation& row : tccActivationTable) {
        if (row.signature == intel.signature().signature &&
            (row.designedMHz == 0 || row.designedMHz == intel.designedMHz()) &&
            (row.brandFragments == nullptr || containsAny(intel.brand(), row.brandFragments))) {
            temperature = row.celsius;
            found = true;
        }
    }
    return found;
}

} // namespace

bool intelTccTemperature(const IntelIdentity& intel, const MsrReader& readMsr, std::uint32_t& temperature) {
    temperature = 0;
    return readTemperature(intel, readMsr, temperature) || findTemperature(intel, temperature);
}

bool intelWolfdaleTccTemperature(const IntelIdentity& intel, std::uint32_t& temperature) {
    temperature = 0;
    if (!intel.isType(Type::Wolfdale)) {
        defectLog().log(zel::LogFailure, __LINE__, "Improper function given processor type");
        return false;
    }
    if (isIntelNumberInList(intel.processorNumber(), ";E8;E7;Q8;Q9", IntelNumberMatch::Prefix)) {
        temperature = 100;
    } else if (intel.processorNumber().startsWith("QX9650")) {
        temperature = 95;
    } else if (intel.processorNumber().startsWith("QX9770")) {
        temperature = 85;
    }
    return temperature > 0;
}

bool intelAtomTccTemperature(const IntelIdentity& intel, std::uint32_t& temperature) {
    const zel::TraceScope trace(intelLog(), "getAtom_TCCActivationTemp", "cpu/x86/x86_intel_info", __LINE__);
    temperature = 0;
    if (!intel.isType(Type::Atom | Type::CloverTrail)) {
        // On this channel, although Wolfdale's goes to the one for defects: who filters the log knows them so.
        intelLog().log(zel::LogFailure, __LINE__, "Improper function given processor type");
        return false;
    }
    for (const AtomTemperature& row : atomTemperatures) {
        if (isIntelNumberInList(intel.processorNumber(), row.processorNumbers, IntelNumberMatch::Exact)) {
            temperature = row.celsius;
            break;
        }
    }
    return temperature > 0;
}

} // namespace libQuarrow::cpu
