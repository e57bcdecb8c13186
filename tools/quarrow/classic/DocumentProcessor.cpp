#include <tools/quarrow/classic/ClassicDocument.h>

#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>

namespace quarrow {

using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_feature_flags;
using nlohmann::ordered_json;

namespace {

ordered_json numberIf(bool known, std::uint32_t number) {
    return known ? ordered_json(number) : ordered_json();
}

ordered_json signatureJson(const libQuarrow::cpu::x86_cpu_signature& signature) {
    return {{"raw", signature.signature},
            {"family", signature.family},
            {"model", signature.model},
            {"extFamily", signature.extFamily},
            {"extModel", signature.extModel},
            {"stepping", signature.stepping},
            {"displayFamily", numberIf(signature.displayValid, signature.displayFamily)},
            {"displayModel", numberIf(signature.displayValid, signature.displayModel)}};
}

ordered_json featuresJson(const x86_feature_flags& features) {
    ordered_json names = ordered_json::array();
    for (std::uint32_t value = 0; value < libQuarrow::cpu::x86_feature_count; ++value) {
        const auto feature = static_cast<libQuarrow::cpu::x86_cpu_features>(value);
        const char* name = x86_feature_flags::toString(feature);
        if (features.hasFeature(feature) && name != nullptr) {
            names.push_back(name);
        }
    }
    return names;
}

using TextQuery = bool (x86_cpu::*)(zel::String&) const;

ordered_json textJson(const x86_cpu& cpu, TextQuery query) {
    zel::String text;
    return (cpu.*query)(text) ? knownText(text) : ordered_json();
}

ordered_json intelJson(const x86_cpu& cpu) {
    const auto* intel = dynamic_cast<const libQuarrow::cpu::x86_intel_info*>(cpu.vendorInfo());
    if (intel == nullptr) {
        return nullptr;
    }
    ordered_json types = ordered_json::array();
    for (const zel::String& name : intel->getTypeNames()) {
        types.push_back(name.toUtf8());
    }
    zel::String number;
    const bool hasNumber = intel->getProcessorNumber(number);
    std::uint32_t mhz = 0;
    const bool hasFrequency = intel->getCpuDesignedFrequency(mhz);
    const boost::optional<bool>& mobile = intel->isMobile();
    return {{"types", types},
            {"processorNumber", hasNumber ? knownText(number) : ordered_json()},
            {"designedFrequencyMHz", numberIf(hasFrequency, mhz)},
            {"mobile", mobile ? ordered_json(*mobile) : ordered_json()}};
}

ordered_json amdJson(const x86_cpu& cpu) {
    const auto* amd = dynamic_cast<const libQuarrow::cpu::x86_amd_info*>(cpu.vendorInfo());
    if (amd == nullptr) {
        return nullptr;
    }
    const libQuarrow::cpu::AmdCpuRevision& revision = amd->getCpuRevision();
    const libQuarrow::cpu::AmdProcessorBSPType bsp = amd->isBSP();
    return {{"family", revision.family},
            {"coreCode", knownNumber(revision.coreCode)},
            {"revisionCode", knownNumber(revision.revisionCode)},
            {"packageType", static_cast<std::uint32_t>(amd->getPackageType())},
            {"bsp", bsp == libQuarrow::cpu::AmdBSP_unknown ? ordered_json()
                                                           : ordered_json(bsp == libQuarrow::cpu::AmdBSP_bootstrap)}};
}

} // namespace

ordered_json logicalCpuNumberJson(const x86_cpu& cpu) {
    return numberIf(cpu.getLogicalCpuNumber() != 0xFFFFFFFF, cpu.getLogicalCpuNumber());
}

ordered_json processorJson(const x86_cpu& cpu, const libQuarrow::cpu::x86_caches& caches) {
    unsigned int apicId = 0;
    const bool hasApicId = cpu.getApicId(apicId);
    return {{"logicalCpuNumber", logicalCpuNumberJson(cpu)},
            {"affinity", cpu.getAffinityMask().toString().toUtf8()},
            {"location", cpu.getLocation().toString(true).toUtf8()},
            {"apicId", numberIf(hasApicId, apicId)},
            {"vendor", cpu.getVendorName().toUtf8()},
            {"name", knownText(cpu.getCpuName())},
            {"signature", signatureJson(cpu.getSignature())},
            {"maxCpuid", cpu.maxCPUID()},
            {"maxExtendedCpuid", cpu.maxExtendedCPUID()},
            {"coresPerPackage", knownNumber(cpu.getNumberCoresPerPhysicalPackage())},
            {"threadsPerPackage", knownNumber(cpu.getNumberThreadsPerPhysicalPackage())},
            {"maxAddressableCores", knownNumber(cpu.getMaxAddressableCores())},
            {"maxAddressableThreads", knownNumber(cpu.getMaxAddressableThreads())},
            {"supportedFeatures", featuresJson(cpu.supportedFeatures())},
            {"allowedFeatures", featuresJson(cpu.allowedFeatures())},
            {"revision", textJson(cpu, &x86_cpu::getRevisionString)},
            {"technology", textJson(cpu, &x86_cpu::getTechnologyString)},
            {"socketType", textJson(cpu, &x86_cpu::getSocketTypeString)},
            {"caches", caches.isEmpty() ? ordered_json() : cachesJson(caches)},
            {"intel", intelJson(cpu)},
            {"amd", amdJson(cpu)}};
}

} // namespace quarrow
