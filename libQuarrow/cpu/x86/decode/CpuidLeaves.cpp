#include <libQuarrow/cpu/x86/decode/CpuidLeaves.h>

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace libQuarrow::cpu {
namespace {

// How far the sub-leaves of a leaf go.
enum class End {
    fixed,          // the row's last one
    maximum,        // EAX of sub-leaf 0 is the last one
    cacheType,      // the first one that tells no cache
    levelType,      // the first one that tells no level
    enclaveSection, // from sub-leaf 2 on, the first one that tells no section
};

// Leaves with sub-leaves (Intel SDM volume 2, CPUID; AMD APM volume 3, appendix E). All others have sub-leaf 0 only.
struct SubleafRow {
    std::uint32_t leaf;
    End end;
    std::uint32_t last; // for End::fixed
};

constexpr std::uint32_t lastSubleaf = 63; // whatever a processor or hypervisor says

// clang-format off
constexpr SubleafRow subleafRows[] = {
    {0x00000004, End::cacheType,       0}, // deterministic cache parameters
    {0x00000007, End::maximum,         0}, // extended features
    {0x0000000B, End::levelType,       0}, // extended topology
    {0x0000000D, End::fixed,          63}, // XSAVE: one for each state component
    {0x0000000F, End::fixed,           1}, // resource monitoring
    {0x00000010, End::fixed,           6}, // resource allocation
    {0x00000012, End::enclaveSection,  0}, // SGX
    {0x00000014, End::maximum,         0}, // processor trace
    {0x00000017, End::maximum,         0}, // system-on-chip vendor
    {0x00000018, End::maximum,         0}, // address translation parameters
    {0x0000001B, End::fixed,           3}, // PCONFIG
    {0x0000001D, End::maximum,         0}, // tiles
    {0x0000001E, End::maximum,         0}, // tile multiplication
    {0x0000001F, End::levelType,       0}, // extended topology, version 2
    {0x00000020, End::maximum,         0}, // history reset
    {0x00000023, End::fixed,           5}, // performance monitoring
    {0x00000024, End::maximum,         0}, // AVX10
    {0x00000027, End::fixed,           1}, // resource monitoring that differs between processors
    {0x00000028, End::fixed,           6}, // resource allocation that differs between processors
    {0x40000003, End::fixed,           2}, // time of Xen's
    {0x8000001D, End::cacheType,       0}, // cache topology
    {0x80000020, End::fixed,           5}, // quality of service
    {0x80000026, End::levelType,       0}, // extended topology
};
// clang-format on

constexpr std::uint32_t xeonPhiFamily = 11;

// Whether the sub-leaf is the last one of its enumeration by what it answers.
bool ends(End end, std::uint32_t subleaf, const cpuid_args& registers) {
    switch (end) {
    case End::cacheType:
        return CacheLeaf(registers).type == CacheLeaf::none;
    case End::levelType:
        return TopologyLevelLeaf(registers).type == TopologyLevelLeaf::invalid;
    case End::enclaveSection:
        return subleaf >= 2 && valueAt<placeOf(0x12, 2, "section_type")>(registers) == 0;
    default:
        return false;
    }
}

// The vendor of leaf 0 begins with these four characters.
bool vendorBegins(CpuidReader& cpuid, const char* four) {
    const std::uint32_t first = cpuid.read(0).ebx;
    return std::memcmp(&first, four, sizeof first) == 0;
}

class AllLeaves {
  public:
    explicit AllLeaves(CpuidReader& cpuid) : m_cpuid(cpuid) {}

    std::vector<CpuidLeaf> read() {
        m_found.push_back({0, 0, m_cpuid.read(0)}); // even a processor that answers zeros has this one
        readRange(0, 1);
        if (VersionLeaf(m_cpuid.read(1)).hypervisor && m_cpuid.read(0).eax >= 1) {
            readRange(cpuid_ranges::hypervisor, 0);
            readFurtherHypervisors();
        }
        readOwnRange(cpuid_ranges::xeonPhi);
        readRange(cpuid_ranges::extended, 0);
        readOwnRange(cpuid_ranges::transmeta);
        if (mayHaveRange(m_cpuid, cpuid_ranges::amdGreeting)) {
            readLeaf(cpuid_ranges::amdGreeting);
            readLeaf(cpuid_ranges::amdGreeting + 1);
        }
        readRange(cpuid_ranges::centaur, 0);
        return std::move(m_found);
    }

  private:
    void add(std::uint32_t leaf, std::uint32_t subleaf, const cpuid_args& registers) {
        if (registers != cpuid_args()) {
            m_found.push_back({leaf, subleaf, registers});
        }
    }

    // A first leaf that does not name a leaf of its range as the highest is kept all the same: older KVM hosts put 0
    // there, and mean that the next leaf is the last (the kernel's Documentation/virt/kvm/cpuid.rst). But a range that
    // an Intel processor does not have answers as its highest standard leaf does.
    void readRange(std::uint32_t first, std::uint32_t skipped) {
        const cpuid_args registers = m_cpuid.read(first);
        std::uint32_t leaves = registers.eax - first + 1;
        if (registers.eax < first || leaves > 0x40000000) {
            const bool isEcho = first != 0 && registers == m_cpuid.read(m_cpuid.read(0).eax);
            leaves = isEcho ? 0 : first == cpuid_ranges::hypervisor && registers.eax == 0 ? 2 : 1;
        }
        for (std::uint32_t i = skipped; i < std::min(leaves, cpuid_ranges::mostLeaves); ++i) {
            readLeaf(first + i);
        }
    }

    bool readNamedRange(std::uint32_t first) {
        const bool isThere = namesLeafOfRange(m_cpuid.read(first).eax, first);
        if (isThere) {
            readRange(first, 0);
        }
        return isThere;
    }
    void readOwnRange(std::uint32_t first) {
        if (mayHaveRange(m_cpuid, first)) {
            readNamedRange(first);
        }
    }
    // One that answers as another moves its own leaves up (KVM and Xen beneath Hyper-V's).
    void readFurtherHypervisors() {
        for (std::uint32_t i = 1; i < cpuid_ranges::mostHypervisors && readNamedRange(hypervisorRange(i)); ++i) {
        }
    }

    // The sub-leaf that ends an enumeration is kept.
    void readLeaf(std::uint32_t leaf) {
        cpuid_args registers = m_cpuid.read(leaf);
        add(leaf, 0, registers);
        const auto row = std::find_if(std::begin(subleafRows), std::end(subleafRows),
                                      [leaf](const SubleafRow& candidate) { return candidate.leaf == leaf; });
        if (row == std::end(subleafRows)) {
            return;
        }
        const std::uint32_t last = row->end == End::fixed     ? row->last
                                   : row->end == End::maximum ? registers.eax
                                                              : lastSubleaf;
        for (std::uint32_t subleaf = 0; subleaf < std::min(last, lastSubleaf) && !ends(row->end, subleaf, registers);) {
            registers = m_cpuid.read(leaf, ++subleaf);
            add(leaf, subleaf, registers);
        }
    }

    CpuidReader& m_cpuid;
    std::vector<CpuidLeaf> m_found;
};

} // namespace

bool mayHaveRange(CpuidReader& cpuid, std::uint32_t first) {
    switch (first) {
    case cpuid_ranges::xeonPhi:
        return vendorBegins(cpuid, "Genu") && SignatureFields(cpuid.read(1).eax).family == xeonPhiFamily;
    case cpuid_ranges::transmeta: {
        const std::uint32_t last = cpuid.read(0).ecx;
        return vendorBegins(cpuid, "Tran") ||
               (vendorBegins(cpuid, "Genu") && std::memcmp(&last, "Mx86", sizeof last) == 0);
    }
    case cpuid_ranges::amdGreeting:
        return vendorBegins(cpuid, "Auth") || vendorBegins(cpuid, "Hygo") || vendorBegins(cpuid, "AMDi");
    case cpuid_ranges::centaur:
        return vendorBegins(cpuid, "Cent") || vendorBegins(cpuid, "  Sh");
    default:
        return true;
    }
}

std::vector<CpuidLeaf> readAllLeaves(CpuidReader& cpuid) {
    RememberingCpuidReader remembering(cpuid); // the first leaf of a range is asked for again and again
    return AllLeaves(remembering).read();
}

} // namespace libQuarrow::cpu
