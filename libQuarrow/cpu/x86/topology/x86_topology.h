#pragma once

#include <libQuarrow/cpu/WinAffinity.h>
#include <libQuarrow/cpu/x86/decode/MsrReader.h>
#include <libQuarrow/cpu/x86/x86_cpu_location.h>
#include <libQuarrow/cpu/x86/x86_inst.h>
#include <zel/Array.h>
#include <zel/String.h>

#include <cstdint>
#include <utility>

// Private to the library: where a logical processor sits, decoded from its CPUID leaves.

namespace libQuarrow::cpu {

class CpuidReader;

// One level of leaf 0xB (extended topology), outwards from the thread.
struct IntelExtendedTopologyLeaf {
    std::uint8_t levelType = 0;     // ECX bits 8 to 15: 1 threads of a core, 2 cores; others are not used
    std::uint16_t logicalCount = 0; // EBX bits 0 to 15: logical processors at this level
    std::uint8_t shift = 0;         // EAX bits 0 to 4: x2APIC ID bits up to and including this level
    std::uint8_t width = 0;         // x2APIC ID bits of this level (shift less the previous one's, modulo 256)
    std::uint8_t offset = 0;        // lowest of them
};

// What the decoding finds. Counts are per physical package.
struct x86_topology_facts {
    x86_cpu_location location;
    std::uint32_t apicId = 0;
    bool apicIdValid = false;
    std::uint32_t coresPerPackage = 0;
    std::uint32_t threadsPerPackage = 0;
    std::uint32_t maxAddressableThreads = 0;
    std::uint32_t maxAddressableCores = 0;
};

// Decodes one processor. The calling thread must be on that processor only where `cpuid` or `readMsr` need it.
class x86_topology {
  public:
    // What is already known of the processor.
    struct Processor {
        x86_cpu_vendor vendor = x86_vendor_unknown;
        x86_cpu_signature signature;
        std::uint32_t maxCpuid = 0;
        std::uint32_t maxExtendedCpuid = 0;
        std::uint32_t logicalCpuNumber = 0;
        const WinAffinity* affinity = nullptr; // selects exactly this processor; needed of AMD's later models alone
        // All of the machine's, as read before the thread was pinned to this one. Null where that is not known.
        const std::vector<GroupAffinity>* system = nullptr;
    };

    // `facts` is written by getTopologyInfo. What the decoding does not reach keeps its value.
    x86_topology(const Processor& processor, CpuidReader& cpuid, MsrReader readMsr, x86_topology_facts& facts)
        : m_processor(processor), m_cpuid(cpuid), m_readMsr(std::move(readMsr)), m_facts(facts) {}

    // Never fails: a processor that cannot be placed counts as a package of its own. Touches nothing where CPUID has no
    // leaf above 0.
    void getTopologyInfo();

    bool intelExtendedTopologyLeafSupported() const;
    // The levels of leaf 0xB and the x2APIC ID; false when there is none.
    bool getIntelExtendedTopologyInfo(zel::Array<IntelExtendedTopologyLeaf>& levels, std::uint32_t& x2apicId) const;
    // The APIC ID that leaf 1 holds; false where it holds none.
    bool getInitialAPICID(std::uint32_t& id) const;
    // Places the processor by its initial APIC ID and the two addressable counts; without an ID, as a package of its
    // own under its logical number.
    void findLocationBasedOnInitialApic();

  private:
    // True when the method decided the topology.
    bool getTopologyInfoIntel();
    bool getTopologyInfoIntelx2APIC();
    bool getTopologyInfoAMD();
    bool getTopologyInfoAMD_Legacy();
    bool getTopologyInfoAMD_FixedLayout();
    bool getTopologyInfoAMD_Table();
    bool isCpuidLimited() const;
    void limitedCpuidCounts();
    void countsAreAddressable(); // as AMD's leaves have it: the IDs leave room for what is there

    const Processor m_processor;
    CpuidReader& m_cpuid;
    MsrReader m_readMsr;
    x86_topology_facts& m_facts;
};

} // namespace libQuarrow::cpu
