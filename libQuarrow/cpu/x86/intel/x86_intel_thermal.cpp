// At which temperature the thermal control circuit of an Intel processor acts.

#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <libQuarrow/DefectLog.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_log.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_tcc_activation.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <algorithm>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint32_t msrThermalChoice = 0xEE;      // Core, Core 2
constexpr std::uint32_t msrTemperatureTarget = 0x1A2; // MSR_TEMPERATURE_TARGET; bits 23 to 16: degrees Celsius

struct AtomTemperature {
    const char* processorNumbers; // the first character separates
    std::uint32_t celsius;
};

// Intel's Atom data sheets, thermal chapters.
constexpr AtomTemperature atomTemperatures[] = {
    {";N450;N470;N455;N475;N550;N570;D410;D510", 100},
    {";230;330;N270;Z500;Z510;Z515;Z520;Z530;Z530P;Z540;Z550;Z510P;Z2760", 90},
    {";Z520PT;Z510PT", 110},
};

// MSR 0xEE bit 30: the lower or the higher of two temperatures.
bool chooseTemperature(const x86_cpu& cpu, std::uint32_t lower, std::uint32_t higher, std::uint32_t& temperature) {
    std::uint64_t value = 0;
    if (!cpu.callRDMSR(msrThermalChoice, value)) {
        return false;
    }
    temperature = (value >> 30 & 1) != 0 ? lower : higher;
    return true;
}

bool containsAny(const zel::String& text, const char* fragments) {
    const zel::Array<zel::String> list = zel::String(fragments).split(";");
    return std::any_of(list.begin(), list.end(),
                       [&text](const zel::String& fragment) { return text.find(fragment) != zel::String::npos; });
}

} // namespace

bool x86_intel_info::getTCCActivationTemperature(std::uint32_t& temperature) const {
    temperature = 0;
    return readTCCActivationTemperature(temperature) || findTCCActivationTemperature(temperature);
}

// What the processor's class has for it: a register or a list. One that fails leads to no other.
bool x86_intel_info::readTCCActivationTemperature(std::uint32_t& temperature) const {
    if (isType(CoreDuoSoloFamily) || (isType(Merom) && m_signature.signature >= 0x6F4)) {
        return chooseTemperature(*m_cpu, 85, 100, temperature);
    }
    if (isType(Penryn)) {
        return chooseTemperature(*m_cpu, 90, 105, temperature);
    }
    if (isType(Wolfdale)) {
        return getWolfdale_TCCActivationTemp(temperature);
    }
    if (isType(NehalemFamily | SandyBridgeFamily | IvyBridgeFamily | HaswellFamily | BroadwellFamily | Skylake |
               Silvermont | Braswell | KabyLake)) {
        std::uint64_t value = 0;
        if (!m_cpu->callRDMSR(msrTemperatureTarget, value)) {
            return false;
        }
        temperature = static_cast<std::uint32_t>(value >> 16 & 0xFF);
        return true;
    }
    if (isType(Atom | CloverTrail)) {
        return getAtom_TCCActivationTemp(temperature);
    }
    return false;
}

bool x86_intel_info::findTCCActivationTemperature(std::uint32_t& temperature) const {
    bool found = false;
    // To the end: of several rows that fit, the last one decides.
    for (const TccActivation& row : tccActivationTable) {
        if (row.signature == m_signature.signature &&
            (row.designedMHz == 0 || row.designedMHz == m_designedFrequency) &&
            (row.brandFragments == nullptr || containsAny(m_brandString, row.brandFragments))) {
            temperature = row.celsius;
            found = true;
        }
    }
    return found;
}

bool x86_intel_info::getWolfdale_TCCActivationTemp(std::uint32_t& temperature) const {
    temperature = 0;
    if (!isType(Wolfdale)) {
        defectLog().log(zel::LogFailure, __LINE__, "Improper function given processor type");
        return false;
    }
    if (processorNumberInList(";E8;E7;Q8;Q9", MatchPrefix)) {
        temperature = 100;
    } else if (m_processorNumber.startsWith("QX9650")) {
        temperature = 95;
    } else if (m_processorNumber.startsWith("QX9770")) {
        temperature = 85;
    }
    return temperature > 0;
}

bool x86_intel_info::getAtom_TCCActivationTemp(std::uint32_t& temperature) const {
    const zel::TraceScope trace(intelLog(), "getAtom_TCCActivationTemp", "cpu/x86/x86_intel_info", __LINE__);
    temperature = 0;
    if (!isType(Atom | CloverTrail)) {
        // Meant for this channel, although Wolfdale's goes to the one for defects.
        intelLog().log(zel::LogFailure, __LINE__, "Improper function given processor type");
        return false;
    }
    for (const AtomTemperature& row : atomTemperatures) {
        if (processorNumberInList(row.processorNumbers, MatchExact)) {
            temperature = row.celsius;
            break;
        }
    }
    return temperature > 0;
}

} // namespace libQuarrow::cpu
