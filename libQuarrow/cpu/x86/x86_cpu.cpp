#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <libQuarrow/cpu/LogicalCpuNumbers.h>
#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_feature_detection.h>
#include <libQuarrow/cpu/x86/decode/x86_identification.h>
#include <libQuarrow/cpu/x86/topology/x86_topology.h>
#include <libQuarrow/cpu/x86/x86_pin.h>
#include <libQuarrow/cpu/x86/x86_vendor_info.h>
#include <zel/Assertion.h>
#include <zel/Log.h>

#include <utility>

namespace libQuarrow::cpu {
namespace {

// What the brief list shows: the instruction sets, and what a processor's buyer asks for.
constexpr x86_cpu_features briefFeatures[] = {
    x86_feature_MMX,   x86_feature_MMX_EXT, x86_feature_3DNOW,  x86_feature_3DNOW_EXT, x86_feature_PSE36,
    x86_feature_EM64T, x86_feature_X86_64,  x86_feature_SSE,    x86_feature_SSE2,      x86_feature_SSE3,
    x86_feature_SSSE3, x86_feature_SSE4_1,  x86_feature_SSE4_2, x86_feature_SSE4A,     x86_feature_AVX,
    x86_feature_AES,   x86_feature_FMA,     x86_feature_XD,     x86_feature_VMX,       x86_feature_IDA,
    x86_feature_AVX2,  x86_feature_AVX512F, x86_feature_NX,     x86_feature_SVM,       x86_feature_XOP,
};

// Does `work` on the processor. False, with nothing done, when that is not allowed or the processor cannot be pinned.
template <class Work>
bool execute(const x86_cpu& cpu, bool allowed, Work work) {
    if (!allowed) {
        return false;
    }
    const x86_pin pin(cpu);
    return pin.pinned() && work();
}

// All processors, as the affinity backend lists them.
boost::optional<std::vector<GroupAffinity>> readSystem() {
    const std::shared_ptr<AffinityAPI> api = AffinityAPI::create();
    return api != nullptr ? api->systemAffinity() : boost::none;
}

} // namespace

x86_cpu::VendorHolder::VendorHolder() = default;
x86_cpu::VendorHolder::VendorHolder(const VendorHolder&) : VendorHolder() {}
x86_cpu::VendorHolder& x86_cpu::VendorHolder::operator=(const VendorHolder&) {
    object.reset();
    return *this;
}
x86_cpu::VendorHolder::~VendorHolder() = default;

x86_cpu::x86_cpu() = default;
x86_cpu::x86_cpu(const x86_cpu& other) = default;
x86_cpu::x86_cpu(x86_cpu&& other) noexcept = default;
x86_cpu& x86_cpu::operator=(const x86_cpu& other) = default;
x86_cpu& x86_cpu::operator=(x86_cpu&& other) noexcept = default;
x86_cpu::~x86_cpu() = default;

x86_cpu::x86_cpu(const AffinityMask& affinity, bool useThreadAffinity, unsigned int, unsigned int)
    : m_useThreadAffinity(useThreadAffinity), m_affinity(affinity) {
    refresh();
}

x86_cpu::x86_cpu(AffinityMask affinity, bool useThreadAffinity)
    : m_useThreadAffinity(useThreadAffinity), m_affinity(std::move(affinity)) {}

bool x86_cpu::visitLogicalCpus(bool useThreadAffinity, const std::function<void(std::unique_ptr<x86_cpu>&)>& found) {
    // One reading for everything: the system may tell of other processors while the thread is pinned.
    LogicalCpuNumbers numbers(readSystem());
    if (!numbers.system()) {
        return false;
    }
    zel::Array<WinAffinity> masks;
    AffinityMask(WinAffinity(*numbers.system())).getMaskPerLogicalDevice(masks);
    for (WinAffinity& mask : masks) {
        std::unique_ptr<x86_cpu> cpu(new x86_cpu(std::move(mask), useThreadAffinity));
        const x86_pin pin(*cpu);
        if (!pin.pinned()) {
            continue;
        }
        cpu->refresh(numbers);
        if (cpu->isValid()) {
            found(cpu);
        }
    }
    return true;
}

bool x86_cpu::findLogicalCpus(zel::Array<x86_cpu>& cpus, bool useThreadAffinity) {
    cpus.clear();
    return visitLogicalCpus(useThreadAffinity,
                            [&cpus](std::unique_ptr<x86_cpu>& cpu) { cpus.append(std::move(*cpu)); });
}

void x86_cpu::init() {
    m_valid = false;
    m_supportedFeatures.clear();
    m_allowedFeatures.clear();
    m_signature = x86_cpu_signature();
    m_vendor = x86_vendor_unknown;
    m_vendorName.clear();
    m_cpuName.clear();
    m_maxCpuid = 0;
    m_maxExtendedCpuid = 0;
    m_apicId = 0;
    m_apicIdValid = false;
    m_coresPerPackage = 0;
    m_threadsPerPackage = 0;
    m_maxAddressableThreads = 0;
    m_maxAddressableCores = 0;
}

void x86_cpu::refresh() {
    LogicalCpuNumbers numbers(readSystem());
    refresh(numbers);
}

void x86_cpu::refresh(LogicalCpuNumbers& numbers) {
    init();
    const x86_pin pin(*this);
    if (!pin.pinned()) {
        return;
    }
    LiveCpuidReader live;
    RememberingCpuidReader cpuid(live);
    if (decodeMaxCpuid(cpuid) == 0) {
        return;
    }
    m_valid = true;
    m_vendor = decodeVendor(cpuid);
    m_vendorName = decodeVendorName(cpuid);
    m_cpuName = decodeCpuName(cpuid).normalizeSpaces();
    m_supportedFeatures = decodeSupportedFeatures(cpuid);
    m_allowedFeatures = decodeAllowedFeatures(cpuid, m_supportedFeatures);
    m_maxCpuid = decodeMaxCpuid(cpuid);
    m_maxExtendedCpuid = decodeMaxExtendedCpuid(cpuid);
    decodeSignature(cpuid, m_signature);
    m_logicalCpuNumber = numbers.of(m_affinity.getAffinityData().groups()).value_or(0xFFFFFFFF);
    getTopologyInfo(cpuid, numbers);
}

void x86_cpu::getTopologyInfo(CpuidReader& cpuid, const LogicalCpuNumbers& numbers) {
    x86_topology::Processor processor;
    processor.vendor = m_vendor;
    processor.signature = m_signature;
    processor.maxCpuid = m_maxCpuid;
    processor.maxExtendedCpuid = m_maxExtendedCpuid;
    processor.logicalCpuNumber = m_logicalCpuNumber;
    processor.affinity = &m_affinity.getAffinityData();
    processor.system = numbers.system() ? &*numbers.system() : nullptr;
    const auto readMsr = [this](std::uint32_t msr, std::uint64_t& value) {
        return x86_inst::callRDMSR(msr, value, &m_affinity);
    };
    x86_topology_facts facts;
    x86_topology(processor, cpuid, readMsr, facts).getTopologyInfo();
    m_location = facts.location;
    m_apicId = facts.apicId;
    m_apicIdValid = facts.apicIdValid;
    m_coresPerPackage = facts.coresPerPackage;
    m_threadsPerPackage = facts.threadsPerPackage;
    m_maxAddressableThreads = facts.maxAddressableThreads;
    m_maxAddressableCores = facts.maxAddressableCores;
}

bool x86_cpu::getApicId(unsigned int& id) const {
    if (!m_apicIdValid) {
        return false;
    }
    id = m_apicId;
    return true;
}

// These two compare the argument with itself and not with what the processor has, so they are true for every argument,
// like x86_inst::featuresSupported. Callers have come to rely on that; it must stay.
bool x86_cpu::supportsFeatures(const x86_feature_flags& features) const {
    return (features & features) == features; // NOLINT(misc-redundant-expression): meant
}

bool x86_cpu::areAllowedFeatures(const x86_feature_flags& features) const {
    return (features & features) == features; // NOLINT(misc-redundant-expression): meant
}

zel::String x86_cpu::featureList(bool brief) const {
    x86_feature_flags features = m_supportedFeatures;
    if (brief) {
        x86_feature_flags filter;
        for (const x86_cpu_features feature : briefFeatures) {
            filter |= feature;
        }
        features &= filter;
    }
    if (features.hasFeature(x86_feature_MMX_EXT)) {
        features.removeFeature(x86_feature_MMX);
    }
    if (features.hasFeature(x86_feature_3DNOW_EXT)) {
        features.removeFeature(x86_feature_3DNOW);
    }
    return features.toString();
}

zel::String x86_cpu::toString() const {
    zel::String text = zel::String::repeat("-", 60);
    text += "\nCPU Name            : " + m_cpuName;
    text += "\nVendor Name         : " + m_vendorName;
    text += "\nAffinity            : " + m_affinity.toString();
    text += zel::String::SprintfFormat(
        "\nLogical CPU Number  : %u\nAPIC ID             : %Xh\nCPUID w/ EAX = 1    : %08Xh\n"
        "                      Family    : %2Xh   Model    : %2Xh   Stepping: %2Xh\n"
        "                      Ext Family: %2Xh   Ext Model: %2Xh\n",
        m_logicalCpuNumber, m_apicId, m_signature.signature, m_signature.family, m_signature.model,
        m_signature.stepping, m_signature.extFamily, m_signature.extModel);
    text += zel::String::SprintfFormat("Cores per package   : %u (max addressable: %u)\n", m_coresPerPackage,
                                       m_maxAddressableCores);
    text += zel::String::SprintfFormat("Threads per package : %u (max addressable: %u)\n", m_threadsPerPackage,
                                       m_maxAddressableThreads);
    text += "Location            : " + m_location.toString(true) + "\n";
    text += "Features            : " + featureList(false) + "\n";
    return text;
}

bool x86_cpu::getCaches(x86_caches& caches) const {
    const x86_pin pin(*this); // around both the making of the vendor object and its enumeration
    return vendorInfo()->getCaches(caches);
}

bool x86_cpu::getRevisionString(zel::String& text) const {
    return vendorInfo()->getRevisionString(text);
}

bool x86_cpu::getTechnologyString(zel::String& text) const {
    return vendorInfo()->getTechnologyString(text);
}

bool x86_cpu::getSocketTypeString(zel::String& text) const {
    return vendorInfo()->getSocketTypeString(text);
}

bool x86_cpu::getSpeedMetrics(x86_speed_metrics& metrics) const {
    const x86_pin pin(*this);
    if (!pin.pinned()) {
        // The number that the message begins with is kept whatever happens to this source: see
        // speed/x86_tsc_measurement.cpp.
        constexpr unsigned int tagNotPinned = 215;
        zel::LogFactory::channel("libQuarrow.cpu_x86.x86_cpu")
            .log(zel::LogFailure, tagNotPinned, "Unable to set affinity mask : " + m_affinity.toString());
        return false;
    }
    return vendorInfo()->getSpeedMetrics(metrics);
}

// The highest leaf of either range is the only bound: sub-leaves, and where the extended range begins, are the
// caller's.
bool x86_cpu::cpuidAllowed(unsigned int leaf) const {
    if (!isAllowedFeature(x86_feature_CPUID)) {
        return false;
    }
    return leaf <= (leaf >= 0x80000000 ? m_maxExtendedCpuid : m_maxCpuid);
}

bool x86_cpu::callCPUID(unsigned int leaf, unsigned int* eax, unsigned int* ebx, unsigned int* ecx,
                        unsigned int* edx) const {
    return execute(*this, cpuidAllowed(leaf), [=] {
        x86_inst::callCPUID(leaf, eax, ebx, ecx, edx);
        return true;
    });
}

bool x86_cpu::callCPUID(const cpuid_args& in, cpuid_args& out) const {
    return execute(*this, cpuidAllowed(in.eax), [&] {
        x86_inst::callCPUID(in, out);
        return true;
    });
}

bool x86_cpu::callRDTSC(std::uint64_t& tsc) const {
    return execute(*this, isAllowedFeature(x86_feature_TSC), [&tsc] {
        tsc = x86_inst::callRDTSC();
        return true;
    });
}

bool x86_cpu::callRDMSR(unsigned int msr, std::uint64_t& value) const {
    return execute(*this, isAllowedFeature(x86_feature_MSR),
                   [&] { return x86_inst::callRDMSR(msr, value, &m_affinity); });
}

bool x86_cpu::callWRMSR(unsigned int msr, std::uint64_t value) const {
    return execute(*this, isAllowedFeature(x86_feature_MSR),
                   [&] { return x86_inst::callWRMSR(msr, value, &m_affinity); });
}

const x86_vendor_info* x86_cpu::vendorInfo() const {
    if (!m_pVendorSpecific.object) {
        m_pVendorSpecific.object.reset(x86_vendor_info::getVendorInfoClass(*this));
    }
    ZEL_ASSERT_TEXT(m_pVendorSpecific.object != nullptr, "m_pVendorSpecific.isValid()", "cpu/x86/x86_cpu");
    return m_pVendorSpecific.object.get();
}

} // namespace libQuarrow::cpu
