// The translation lookaside buffers that a processor tells: leaf 0x18, else leaf 2; AMD's and others' leaves
// 0x80000005, 0x80000006 and 0x80000019. Intel's manual, volume 2, CPUID; AMD's manual, volume 3, appendix E.

#include <libQuarrow/topology/decode/CacheDescriptors.h>
#include <libQuarrow/topology/decode/Descriptors.h>
#include <libQuarrow/topology/decode/LeafReader.h>
#include <libQuarrow/topology/decode/ProcessorDecoder.h>

#include <algorithm>
#include <iterator>

namespace libQuarrow::topology {
namespace {

constexpr std::uint32_t mostTlbs = 32; // whatever leaf 0x18 says

void add(std::vector<TlbFigures>& tlbs, const TlbFigures& tlb) {
    if (tlb.entries != 0 && std::find(tlbs.begin(), tlbs.end(), tlb) == tlbs.end()) {
        tlbs.push_back(tlb);
    }
}

// From the bits k4, m2, m4 and g1.
PageSizes pageSizes(std::uint32_t pages) {
    using namespace descriptors;
    const auto size = [pages](std::uint32_t bit, std::uint64_t bytes) { return (pages & bit) != 0 ? bytes : 0; };
    return {size(k4, 0x1000), size(m2, 0x200000), size(m4, 0x400000), size(g1, 0x40000000)};
}

std::uint32_t pagesOf(const cpu::TlbLeaf& told) {
    using namespace descriptors;
    return (told.has4K ? k4 : 0U) | (told.has2M ? m2 : 0U) | (told.has4M ? m4 : 0U) | (told.has1G ? g1 : 0U);
}

void addDeterministic(LeafReader& leaves, std::vector<TlbFigures>& tlbs) {
    constexpr TlbType types[] = {TlbType::data, TlbType::instruction, TlbType::unified, TlbType::load, TlbType::store};
    if (!leaves.has(cpu::TlbLeaf::number)) {
        return;
    }
    const std::uint32_t last = std::min(leaves.get<cpu::TlbLeaf>().lastSubleaf, mostTlbs - 1);
    for (std::uint32_t subleaf = 0; subleaf <= last; ++subleaf) {
        const auto told = leaves.get<cpu::TlbLeaf>(subleaf);
        const std::uint64_t entries = std::uint64_t{told.ways} * told.sets;
        if (told.type == cpu::TlbLeaf::none || told.type > cpu::TlbLeaf::store || entries > UINT32_MAX) {
            continue;
        }
        add(tlbs, {std::max(told.level, 1U), types[told.type - 1], pageSizes(pagesOf(told)),
                   static_cast<std::uint32_t>(entries), told.fullyAssociative ? 0 : told.ways});
    }
}

void addDescribed(LeafReader& leaves, std::vector<TlbFigures>& tlbs) {
    for (const std::uint8_t descriptor : readDescriptors(leaves)) {
        const auto* row =
            std::lower_bound(std::begin(descriptors::tlbs), std::end(descriptors::tlbs), descriptor,
                             [](const TlbDescriptor& r, std::uint8_t wanted) { return r.descriptor < wanted; });
        for (; row != std::end(descriptors::tlbs) && row->descriptor == descriptor; ++row) {
            add(tlbs, {row->level, row->type, pageSizes(row->pages), row->entries,
                       row->ways == descriptors::notTold ? std::nullopt : std::optional<std::uint32_t>(row->ways)});
        }
    }
}

void addLegacyL1(LeafReader& leaves, std::vector<TlbFigures>& tlbs) {
    const auto leaf = leaves.get<cpu::L1TlbLeaf>();
    const std::pair<std::uint32_t, cpu::AmdTlbs> rows[] = {{descriptors::m2 | descriptors::m4, leaf.large},
                                                           {descriptors::k4, leaf.small}};
    for (const auto& [pages, told] : rows) {
        add(tlbs, {1, TlbType::data, pageSizes(pages), told.dataEntries, waysOfByte(told.dataAssociativity)});
        add(tlbs, {1, TlbType::instruction, pageSizes(pages), told.instructionEntries,
                   waysOfByte(told.instructionAssociativity)});
    }
}

void addCoded(std::uint32_t level, std::uint32_t pages, const cpu::AmdTlbs& told, std::vector<TlbFigures>& tlbs) {
    add(tlbs, {level, TlbType::data, pageSizes(pages), told.dataEntries, waysOfCode(told.dataAssociativity)});
    add(tlbs, {level, told.unified() ? TlbType::unified : TlbType::instruction, pageSizes(pages),
               told.instructionEntries, waysOfCode(told.instructionAssociativity)});
}

} // namespace

std::vector<TlbFigures> decodeTlbs(LeafReader& leaves) {
    std::vector<TlbFigures> tlbs;
    tlbs.reserve(12); // more than most tell
    const Maker maker = makerOf(leaves);
    addDeterministic(leaves, tlbs);
    if (tlbs.empty() && maker == Maker::intel) {
        addDescribed(leaves, tlbs);
    }
    if (tlbs.empty() && maker != Maker::intel) {
        const auto second = leaves.get<cpu::L2TlbLeaf>();
        const auto gigabyte = leaves.get<cpu::GigabyteTlbLeaf>();
        addLegacyL1(leaves, tlbs);
        addCoded(1, descriptors::g1, gigabyte.l1, tlbs);
        addCoded(2, descriptors::m2 | descriptors::m4, second.large, tlbs);
        addCoded(2, descriptors::k4, second.small, tlbs);
        addCoded(2, descriptors::g1, gigabyte.l2, tlbs);
    }
    std::sort(tlbs.begin(), tlbs.end());
    return tlbs;
}

} // namespace libQuarrow::topology
