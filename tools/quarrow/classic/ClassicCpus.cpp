#include <tools/quarrow/Text.h>
#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/classic/ClassicDocument.h>
#include <tools/quarrow/classic/Processors.h>

#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <map>

namespace quarrow {

using libQuarrow::cpu::x86_amd_info;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_intel_info;

namespace {

std::string intelFacts(const x86_intel_info& intel) {
    std::string text;
    const zel::Array<zel::String> types = intel.getTypeNames();
    if (!types.isEmpty()) {
        text += line("Intel type", zel::String::join(types, ", "));
    }
    zel::String number;
    if (intel.getProcessorNumber(number)) {
        text += line("Processor number", number);
    }
    std::uint32_t mhz = 0;
    if (intel.getCpuDesignedFrequency(mhz)) {
        text += line("Designed frequency", zel::String::SprintfFormat("%u MHz", mhz));
    }
    if (intel.isMobile()) {
        text += line("Mobile", *intel.isMobile() ? "yes" : "no");
    }
    return text;
}

zel::String packageTypeText(libQuarrow::cpu::AmdPackageType type) {
    switch (type) {
    case libQuarrow::cpu::AmdPackage_754:
        return "754";
    case libQuarrow::cpu::AmdPackage_940:
        return "940";
    case libQuarrow::cpu::AmdPackage_939:
        return "939";
    case libQuarrow::cpu::AmdPackage_F:
        return "F";
    case libQuarrow::cpu::AmdPackage_AM2:
        return "AM2";
    case libQuarrow::cpu::AmdPackage_S1g1:
        return "S1g1";
    case libQuarrow::cpu::AmdPackage_G34:
        return "G34";
    case libQuarrow::cpu::AmdPackage_C32:
        return "C32";
    case libQuarrow::cpu::AmdPackage_FT3:
        return "FT3";
    case libQuarrow::cpu::AmdPackage_FS1b:
        return "FS1b";
    default: // no name, or not known
        return {};
    }
}

std::string amdFacts(const x86_amd_info& amd) {
    std::string text;
    const zel::String package = packageTypeText(amd.getPackageType());
    if (!package.isEmpty()) {
        text += line("Package", package);
    }
    const libQuarrow::cpu::AmdProcessorBSPType bsp = amd.isBSP();
    if (bsp != libQuarrow::cpu::AmdBSP_unknown) {
        text += line("Bootstrap processor", bsp == libQuarrow::cpu::AmdBSP_bootstrap ? "yes" : "no");
    }
    return text;
}

// What is known of the processor by its maker; nothing for what is not known.
std::string facts(const x86_cpu& cpu) {
    std::string text;
    zel::String value;
    if (cpu.getRevisionString(value)) {
        text += line("Revision", value);
    }
    if (cpu.getTechnologyString(value)) {
        text += line("Technology", value);
    }
    if (cpu.getSocketTypeString(value)) {
        text += line("Socket type", value);
    }
    if (const auto* intel = dynamic_cast<const x86_intel_info*>(cpu.vendorInfo())) {
        text += intelFacts(*intel);
    }
    if (const auto* amd = dynamic_cast<const x86_amd_info*>(cpu.vendorInfo())) {
        text += amdFacts(*amd);
    }
    return text;
}

} // namespace

std::string classicCpusCommand(const Request& request) {
    if (request.json) {
        return classicDocument(request);
    }
    std::map<const x86_cpu*, std::string> reports;
    const Machine machine = readMachine(request, [&](const x86_cpu& cpu) {
        if (isNamed(cpu, request.operands)) {
            reports[&cpu] = printable(cpu.toString(), cpu.getVendorName()) + facts(cpu);
        }
    });
    std::string text;
    for (const x86_cpu* cpu : namedProcessors(machine.processors, request.operands)) {
        text += reports.at(cpu);
    }
    return text;
}

} // namespace quarrow
