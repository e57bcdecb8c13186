#include <libQuarrow/os/recorded/ProcessorRecorder.h>

#include <algorithm>
#include <iterator>

namespace libQuarrow::os {
namespace {

// How far the sub-leaves of a leaf go.
enum class End {
    fixed,          // the row's last one
    maximum,        // EAX of sub-leaf 0 is the last one
    cacheType,      // the first one whose EAX bits 0 to 4 are 0
    levelType,      // the first one whose ECX bits 8 to 15 are 0
    enclaveSection, // from sub-leaf 2 on, the first one whose EAX bits 0 to 3 are 0
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
    {0x00000010, End::fixed,           5}, // resource allocation
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
    {0x8000001D, End::cacheType,       0}, // cache topology
    {0x80000020, End::fixed,           3}, // quality of service
    {0x80000026, End::levelType,       0}, // extended topology
};
// clang-format on

constexpr std::uint32_t maxLeavesPerRange = 0x100;
constexpr std::uint32_t hypervisorRange = 0x40000000;
constexpr std::uint32_t hypervisorBit = 31; // leaf 1 ECX
constexpr std::uint32_t osxsaveBit = 27;    // leaf 1 ECX

// Whether the sub-leaf is the last one of its enumeration by what it answers.
bool ends(End end, std::uint32_t subleaf, const cpu::cpuid_args& registers) {
    switch (end) {
    case End::cacheType:
        return (registers.eax & 0x1F) == 0;
    case End::levelType:
        return (registers.ecx >> 8 & 0xFF) == 0;
    case End::enclaveSection:
        return subleaf >= 2 && (registers.eax & 0xF) == 0;
    default:
        return false;
    }
}

} // namespace

cpu::cpuid_args ProcessorRecorder::read(std::uint32_t leaf, std::uint32_t subleaf) {
    cpu::cpuid_args registers{leaf, 0, subleaf, 0};
    m_instructions.cpuid(registers);
    return registers;
}

// What is all zero is left out: absent leaves and sub-leaves read so.
void ProcessorRecorder::add(std::uint32_t leaf, std::uint32_t subleaf, const cpu::cpuid_args& registers) {
    if (registers != cpu::cpuid_args()) {
        m_processor.leaves[{leaf, subleaf}] = registers;
    }
}

// A first leaf that does not name a leaf of its range as the highest is kept all the same: older KVM hosts put 0 there,
// and mean that the next leaf is the last (the kernel's Documentation/virt/kvm/cpuid.rst). But a range that an Intel
// processor does not have answers as its highest standard leaf does.
void ProcessorRecorder::recordRange(std::uint32_t first) {
    const cpu::cpuid_args registers = read(first, 0);
    std::uint32_t leaves = registers.eax - first + 1;
    if (registers.eax < first || leaves > 0x40000000) {
        const bool isEcho = first != 0 && registers == read(read(0, 0).eax, 0);
        leaves = isEcho ? 0 : first == hypervisorRange && registers.eax == 0 ? 2 : 1;
    }
    for (std::uint32_t i = 0; i < std::min(leaves, maxLeavesPerRange); ++i) {
        recordLeaf(first + i);
    }
}

void ProcessorRecorder::recordLeaf(std::uint32_t leaf) {
    const cpu::cpuid_args subleaf0 = read(leaf, 0);
    add(leaf, 0, subleaf0);
    recordSubleaves(leaf, subleaf0);
}

// The sub-leaf that ends an enumeration is kept.
void ProcessorRecorder::recordSubleaves(std::uint32_t leaf, const cpu::cpuid_args& subleaf0) {
    const auto row = std::find_if(std::begin(subleafRows), std::end(subleafRows),
                                  [leaf](const SubleafRow& candidate) { return candidate.leaf == leaf; });
    if (row == std::end(subleafRows)) {
        return;
    }
    const std::uint32_t last = row->end == End::fixed     ? row->last
                               : row->end == End::maximum ? subleaf0.eax
                                                          : lastSubleaf;
    cpu::cpuid_args registers = subleaf0;
    for (std::uint32_t subleaf = 0; subleaf < std::min(last, lastSubleaf) && !ends(row->end, subleaf, registers);) {
        registers = read(leaf, ++subleaf);
        add(leaf, subleaf, registers);
    }
}

RecordedProcessor ProcessorRecorder::record() {
    m_processor.leaves[{0, 0}] = read(0, 0); // even a processor that answers zeros has this one
    recordRange(0);
    const auto features = m_processor.leaves.find({1, 0});
    const std::uint32_t featureBits = features != m_processor.leaves.end() ? features->second.ecx : 0;
    if ((featureBits >> hypervisorBit & 1) != 0) {
        recordRange(hypervisorRange);
    }
    recordRange(0x80000000);
    recordRange(0xC0000000); // Centaur's and Zhaoxin's own
    if ((featureBits >> osxsaveBit & 1) != 0) {
        m_processor.xcr0 = m_instructions.xgetbv(0);
    }
    return std::move(m_processor);
}

} // namespace libQuarrow::os
