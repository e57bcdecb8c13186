#include <libQuarrow/cpu/x86/topology/x86_topology.h>

#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/topology/AMD_TopologyInfo.h>
#include <zel/Log.h>

namespace libQuarrow::cpu {
namespace {

zel::LogChannel& channel() {
    static zel::LogChannel& instance = zel::LogFactory::channel("libQuarrow.cpu_x86.x86_cpu");
    return instance;
}

// The lowest `width` bits. Widths are five-bit differences and may come out above 32.
std::uint32_t mask(unsigned int width) {
    return width == 32 ? 0xFFFFFFFF : (1U << width % 32) - 1;
}

std::uint32_t shiftRight(std::uint32_t value, unsigned int amount) {
    return value >> amount % 32;
}

// 0, "cannot tell", for a divisor that no processor should report.
std::uint32_t quotient(std::uint32_t dividend, std::uint32_t divisor) {
    return divisor == 0 ? 0 : dividend / divisor;
}

// How often 1 must be doubled to reach `count`.
unsigned int bitsFor(std::uint32_t count) {
    unsigned int bits = 0;
    while (bits < 31 && 1U << bits < count) {
        ++bits;
    }
    return bits;
}

} // namespace

void x86_topology::getTopologyInfo() {
    if (m_processor.maxCpuid == 0) {
        return;
    }
    switch (m_processor.vendor) {
    case x86_vendor_intel:
        if (getTopologyInfoIntel()) {
            return;
        }
        break;
    case x86_vendor_amd:
        if (getTopologyInfoAMD()) {
            return;
        }
        break;
    default:
        channel().log(zel::LogTrace, __LINE__,
                      "Topology info is not currently supported on CPUs from this manufacturer.");
        break;
    }
    channel().log(zel::LogTrace, __LINE__,
                  "Unable to determine topology information or this CPU does not support it. "
                  "Interpreting each logical CPU as a physical CPU.");
    m_facts.coresPerPackage = 1;
    m_facts.threadsPerPackage = 1;
    m_facts.maxAddressableThreads = 1;
    m_facts.maxAddressableCores = 1;
    findLocationBasedOnInitialApic();
}

bool x86_topology::getTopologyInfoIntel() {
    const auto version = readLeaf<VersionLeaf>(m_cpuid);
    if (!version.htt) {
        return false;
    }
    m_facts.maxAddressableThreads = version.logicalProcessors;
    if (m_processor.maxCpuid < 4) {
        limitedCpuidCounts();
    } else {
        m_facts.maxAddressableCores = CacheLeaf(m_cpuid.read(CacheLeaf::intelNumber)).packageCores;
        if (intelExtendedTopologyLeafSupported()) {
            return getTopologyInfoIntelx2APIC();
        }
        m_facts.coresPerPackage = m_facts.maxAddressableCores;
        m_facts.threadsPerPackage = m_facts.maxAddressableThreads;
    }
    findLocationBasedOnInitialApic();
    return true;
}

// Whether the firmware hides the leaves above 3 (IA32_MISC_ENABLE bit 22). Only a Pentium 4 with several threads has no
// leaf 4 of its own accord; there the register decides, or, where it cannot be read, the model.
bool x86_topology::isCpuidLimited() const {
    constexpr std::uint32_t miscEnable = 0x1A0;
    constexpr unsigned int limitCpuid = 22;
    const x86_cpu_signature& signature = m_processor.signature;
    if (signature.displayFamily != 0xF || m_facts.maxAddressableThreads < 2) {
        return true;
    }
    std::uint64_t value = 0;
    return m_readMsr(miscEnable, value) ? bit(value, limitCpuid) : signature.displayModel >= 3;
}

void x86_topology::limitedCpuidCounts() {
    const bool limited = isCpuidLimited();
    m_facts.maxAddressableCores = 1;
    m_facts.coresPerPackage = 1;
    if (limited) {
        channel().log(zel::LogNotice, __LINE__,
                      "CPUID Limit is enabled on CPU making all CPUID leafs above 3 inaccessible. "
                      "Treating each logical CPU as a physical CPU.");
        m_facts.maxAddressableThreads = 1;
    }
    m_facts.threadsPerPackage = m_facts.maxAddressableThreads;
}

bool x86_topology::intelExtendedTopologyLeafSupported() const {
    return m_processor.maxCpuid >= TopologyLevelLeaf::number && readLeaf<TopologyLevelLeaf>(m_cpuid).ebx != 0;
}

bool x86_topology::getIntelExtendedTopologyInfo(zel::Array<IntelExtendedTopologyLeaf>& levels,
                                                std::uint32_t& x2apicId) const {
    constexpr std::uint32_t levelNumbers = 256; // ECX bits 0 to 7; a leaf that does not end by then never does
    levels.clear();
    levels.reserve(2);
    std::uint8_t previousShift = 0;
    for (std::uint32_t i = 0; i < levelNumbers; ++i) {
        const auto leaf = readLeaf<TopologyLevelLeaf>(m_cpuid, i);
        if (leaf.ebx == 0) {
            break;
        }
        if (i == 0) {
            x2apicId = leaf.x2apicId;
        }
        IntelExtendedTopologyLeaf level;
        level.levelType = static_cast<std::uint8_t>(leaf.type);
        level.logicalCount = static_cast<std::uint16_t>(leaf.logicalProcessors);
        level.shift = static_cast<std::uint8_t>(leaf.shift);
        level.offset = previousShift;
        level.width = static_cast<std::uint8_t>(level.shift - previousShift);
        previousShift = level.shift;
        levels.append(level);
    }
    return !levels.isEmpty();
}

bool x86_topology::getTopologyInfoIntelx2APIC() {
    zel::Array<IntelExtendedTopologyLeaf> levels;
    std::uint32_t id = 0;
    if (!getIntelExtendedTopologyInfo(levels, id)) {
        channel().log(zel::LogTrace, __LINE__, "Trouble reading Intel Extended Topology Leaf");
        return false;
    }
    m_facts.apicId = id;
    m_facts.apicIdValid = true;
    const IntelExtendedTopologyLeaf* smt = nullptr;
    const IntelExtendedTopologyLeaf* core = nullptr;
    for (const IntelExtendedTopologyLeaf& level : levels) {
        if (level.levelType == TopologyLevelLeaf::thread) {
            smt = &level;
        } else if (level.levelType == TopologyLevelLeaf::core) {
            core = &level;
        }
    }
    if (smt == nullptr) {
        return false;
    }
    x86_cpu_location& location = m_facts.location;
    location = x86_cpu_location();
    location.thread = shiftRight(id, smt->offset) & mask(smt->width);
    if (core != nullptr) {
        location.core = shiftRight(id, core->offset) & mask(core->width);
        location.cpu = shiftRight(id, core->width + core->offset);
        m_facts.threadsPerPackage = core->logicalCount;
        m_facts.coresPerPackage = quotient(core->logicalCount, smt->logicalCount);
    } else {
        location.cpu = shiftRight(id, smt->width + smt->offset);
    }
    return true;
}

bool x86_topology::getInitialAPICID(std::uint32_t& id) const {
    const x86_cpu_signature& s = m_processor.signature;
    switch (m_processor.vendor) {
    case x86_vendor_intel:
        if (s.extFamily == 0 && s.extModel == 0 && (s.family == 4 || s.family == 5)) {
            return false;
        }
        // Family 6 models 1, 3 and 7 to 11 have none. Models 5 and 6, of the same age, are taken to have one: the list
        // decides where those processors are placed, and must stay as long as their places are compared.
        if (s.extFamily == 0 && s.extModel == 0 && s.family == 6 &&
            (s.model == 1 || s.model == 3 || (s.model >= 7 && s.model <= 11))) {
            return false;
        }
        break;
    case x86_vendor_amd:
        if (s.displayFamily < 0xF) {
            return false;
        }
        break;
    default:
        return false;
    }
    id = readLeaf<VersionLeaf>(m_cpuid).initialApicId;
    return true;
}

void x86_topology::findLocationBasedOnInitialApic() {
    m_facts.apicIdValid = getInitialAPICID(m_facts.apicId);
    x86_cpu_location& location = m_facts.location;
    location = x86_cpu_location();
    if (!m_facts.apicIdValid) {
        location.cpu = m_processor.logicalCpuNumber;
        return;
    }
    const unsigned int smtBits = bitsFor(quotient(m_facts.maxAddressableThreads, m_facts.maxAddressableCores));
    const unsigned int coreBits = bitsFor(m_facts.maxAddressableCores);
    const std::uint32_t id = m_facts.apicId;
    location.thread = id & mask(smtBits);
    location.core = shiftRight(id, smtBits) & mask(coreBits);
    location.cpu = shiftRight(id, smtBits + coreBits);
}

bool x86_topology::getTopologyInfoAMD() {
    constexpr std::uint8_t zen = 0x17;
    const x86_cpu_signature& signature = m_processor.signature;
    if (signature.displayFamily != zen || !AMD_TopologyInfo::isSupported(m_cpuid)) {
        return getTopologyInfoAMD_Legacy();
    }
    if (signature.displayModel <= 15) {
        return getTopologyInfoAMD_FixedLayout();
    }
    return getTopologyInfoAMD_Table() || getTopologyInfoAMD_Legacy();
}

void x86_topology::countsAreAddressable() {
    m_facts.maxAddressableThreads = m_facts.threadsPerPackage;
    m_facts.maxAddressableCores = m_facts.coresPerPackage;
}

// Family 0x17 up to model 15: socket and core complex are taken from fixed bits of the APIC ID. That layout belongs to
// these models alone; later ones go by the table of the whole machine.
bool x86_topology::getTopologyInfoAMD_FixedLayout() {
    const auto topology = readLeaf<AmdTopologyLeaf>(m_cpuid);
    m_facts.threadsPerPackage = readLeaf<PackageSizeLeaf>(m_cpuid).threads;
    m_facts.coresPerPackage = quotient(m_facts.threadsPerPackage, topology.threadsPerCore);
    m_facts.apicIdValid = getInitialAPICID(m_facts.apicId);
    const std::uint32_t socket = bits(m_facts.apicId, 6, 6);
    const std::uint32_t ccx = bits(m_facts.apicId, 3, 3);
    const std::uint32_t thread = topology.threadsPerCore != 1 ? bits(m_facts.apicId, 0, 0) : 0;
    m_facts.location = x86_cpu_location(0, 0, socket, topology.coreId, thread);
    channel().log(zel::LogTrace, __LINE__,
                  zel::String::SprintfFormat("CPU - socket[%u]:node[%u]:ccx[%u]:core[%u]:thread[%u]", socket,
                                             topology.nodeId, ccx, topology.coreId, thread));
    countsAreAddressable();
    return true;
}

bool x86_topology::getTopologyInfoAMD_Table() {
    channel().log(zel::LogDiagnostic, __LINE__, "Topology Leaf Info Supported");
    const AmdTopologyEntry* entry =
        m_processor.affinity == nullptr
            ? nullptr
            : AMD_TopologyInfo::get(m_cpuid, m_processor.system).find(m_processor.affinity->toString());
    m_facts.location = x86_cpu_location();
    if (entry == nullptr || !entry->socket || !entry->thread) {
        channel().log(zel::LogDiagnostic, __LINE__, "Failed to use topology leafs to determine CPU topology.");
        return false;
    }
    m_facts.location = x86_cpu_location(0, 0, *entry->socket, entry->coreId, *entry->thread);
    m_facts.threadsPerPackage = entry->packageThreads;
    m_facts.coresPerPackage = quotient(entry->packageThreads, entry->threadsPerCore);
    countsAreAddressable();
    return true;
}

bool x86_topology::getTopologyInfoAMD_Legacy() {
    bool decided = false;
    const auto version = readLeaf<VersionLeaf>(m_cpuid);
    if (!version.htt) {
        m_facts.coresPerPackage = 1;
        m_facts.threadsPerPackage = 1;
        decided = true;
    } else {
        m_facts.threadsPerPackage = version.logicalProcessors;
        if (m_processor.maxExtendedCpuid >= ExtendedFeaturesLeaf::number) {
            if (readLeaf<ExtendedFeaturesLeaf>(m_cpuid).cmpLegacy) {
                m_facts.coresPerPackage = m_facts.threadsPerPackage;
                decided = true;
            } else if (m_processor.maxExtendedCpuid >= PackageSizeLeaf::number) {
                m_facts.coresPerPackage = readLeaf<PackageSizeLeaf>(m_cpuid).threads;
                decided = true;
            }
        }
    }
    countsAreAddressable();
    findLocationBasedOnInitialApic();
    return decided;
}

} // namespace libQuarrow::cpu
