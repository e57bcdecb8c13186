// The caches that a processor tells: leaf 4 or 0x8000001D, else leaves 0x80000005 and 0x80000006, else leaf 2. Intel's
// manual, volume 2, CPUID; AMD's manual, volume 3, appendix E.

#include <libQuarrow/topology/decode/CacheDescriptors.h>
#include <libQuarrow/topology/decode/Descriptors.h>
#include <libQuarrow/topology/decode/LeafReader.h>
#include <libQuarrow/topology/decode/ProcessorDecoder.h>

#include <algorithm>

namespace libQuarrow::topology {
namespace {

constexpr std::uint32_t mostCaches = 16; // processors have five or fewer; one that never ends the list is not asked on

// Adds a cache unless one of its level and type, or one that holds what it would, is there already.
void add(std::vector<CacheFacts>& caches, const CacheFacts& cache) {
    const CacheFigures& figures = cache.figures;
    const bool known = std::any_of(caches.begin(), caches.end(), [&figures](const CacheFacts& other) {
        return other.figures.level == figures.level &&
               (other.figures.type == figures.type ||
                (figures.type != CacheType::trace &&
                 (other.figures.type == CacheType::unified || figures.type == CacheType::unified)));
    });
    if (figures.level != 0 && figures.sizeBytes != 0 && !known) {
        caches.push_back(cache);
    }
}

std::optional<CacheFacts> decodeDeterministic(const cpu::cpuid_args& registers) {
    constexpr CacheType types[] = {CacheType::data, CacheType::instruction, CacheType::unified};
    const cpu::CacheLeaf told(registers);
    if (told.type > cpu::CacheLeaf::unified || (registers.ebx == 0 && registers.ecx == 0)) {
        return std::nullopt; // not defined; or of one byte, as a cache that is switched off may be told
    }
    CacheFacts cache;
    cache.figures.level = told.level;
    cache.figures.type = types[told.type - 1];
    cache.figures.sizeBytes = std::uint64_t{told.lineBytes} * told.partitions * told.ways * told.sets;
    cache.figures.ways = told.fullyAssociative ? 0 : told.ways;
    cache.figures.lineSizeBytes = told.lineBytes;
    cache.figures.sets = told.sets;
    cache.figures.inclusive = told.inclusive;
    cache.sharing = CacheSharing::ids;
    cache.idShift = bitsFor(told.threadsSharing);
    return cache;
}

void addDeterministic(LeafReader& leaves, std::uint32_t leaf, std::vector<CacheFacts>& caches) {
    for (std::uint32_t subleaf = 0; leaves.has(leaf) && subleaf < mostCaches; ++subleaf) {
        const cpu::cpuid_args registers = leaves.read(leaf, subleaf);
        if (cpu::CacheLeaf(registers).type == cpu::CacheLeaf::none) {
            return;
        }
        if (const auto cache = decodeDeterministic(registers)) {
            add(caches, *cache);
        }
    }
}

void addLegacyL1(LeafReader& leaves, std::vector<CacheFacts>& caches) {
    const auto leaf = leaves.get<cpu::L1CacheLeaf>();
    const std::pair<CacheType, cpu::L1CacheLeaf::Cache> halves[] = {{CacheType::data, leaf.data},
                                                                    {CacheType::instruction, leaf.instruction}};
    for (const auto& [type, told] : halves) {
        CacheFacts cache;
        cache.figures.level = 1;
        cache.figures.type = type;
        cache.figures.sizeBytes = std::uint64_t{told.kilobytes} * 1024;
        cache.figures.ways = waysOfByte(told.associativity);
        cache.figures.lineSizeBytes = told.lineBytes;
        cache.sharing = CacheSharing::core;
        add(caches, cache);
    }
}

void addLegacyL2(LeafReader& leaves, const ProcessorIdentity& identity, std::vector<CacheFacts>& caches) {
    const auto told = leaves.get<cpu::L2L3CacheLeaf>();
    CacheFacts cache;
    cache.figures.level = 2;
    cache.figures.sizeBytes = std::uint64_t{told.l2Kilobytes} * 1024;
    cache.figures.ways = waysOfCode(told.l2Associativity);
    cache.figures.lineSizeBytes = told.l2LineBytes;
    cache.sharing = makerOf(leaves) == Maker::intel ? CacheSharing::notTold : CacheSharing::core;
    if (identity.vendor == "CentaurHauls" && identity.family == 6 && identity.model <= 8) {
        // VIA's C3 up to model 8 (its data sheet, CPUID 0x80000006) has the fields where leaf 0x80000005 has them.
        const cpu::L1CacheLeaf::Cache old = cpu::L1CacheLeaf(leaves.read(cpu::L2L3CacheLeaf::number)).data;
        cache.figures.sizeBytes = std::uint64_t{old.kilobytes} * 1024;
        cache.figures.ways = waysOfByte(old.associativity);
    }
    add(caches, cache);
}

// Not Intel's, where the register is reserved.
void addLegacyL3(LeafReader& leaves, const ProcessorIdentity& identity, std::vector<CacheFacts>& caches) {
    const auto told = leaves.get<cpu::L2L3CacheLeaf>();
    CacheFacts cache;
    cache.figures.level = 3;
    cache.figures.sizeBytes = std::uint64_t{told.l3HalfMegabytes} * 512 * 1024;
    cache.figures.ways = waysOfCode(told.l3Associativity);
    cache.figures.lineSizeBytes = told.l3LineBytes;
    cache.sharing = CacheSharing::package;
    if (identity.family == 0x10 && identity.model == 9) { // both dies' together
        cache.figures.sizeBytes /= 2;
        cache.figures.ways = cache.figures.ways ? std::make_optional(*cache.figures.ways / 2) : std::nullopt;
    }
    add(caches, cache);
}

// Leaf 2. Processors that have it and not leaf 4 have one core, whose L1 its threads share.
void addDescribed(LeafReader& leaves, const ProcessorIdentity& identity, bool traceOnly,
                  std::vector<CacheFacts>& caches) {
    const bool xeonMp = identity.family == 15 && identity.model == 6;
    for (const std::uint8_t descriptor : readDescriptors(leaves)) {
        for (const CacheDescriptor& row : descriptors::caches) {
            if (row.descriptor != descriptor || (traceOnly && row.type != CacheType::trace)) {
                continue;
            }
            CacheFacts cache;
            cache.figures.level = descriptor == 0x49 && xeonMp ? 3 : row.level;
            cache.figures.type = row.type;
            cache.figures.sizeBytes = std::uint64_t{row.sizeK} * 1024;
            cache.figures.ways = row.ways;
            cache.figures.lineSizeBytes = row.line;
            cache.sharing = row.level == 1 ? CacheSharing::core : CacheSharing::notTold;
            add(caches, cache);
        }
    }
}

// Cyrix' and its heirs' leaf 2: one descriptor for the cache of all of them.
void addCyrix(LeafReader& leaves, std::vector<CacheFacts>& caches) {
    for (const std::uint8_t descriptor : readDescriptors(leaves)) {
        if (descriptor == 0x80) {
            CacheFacts cache;
            cache.figures = {1, CacheType::unified, std::uint64_t{16} * 1024, 4, 16, std::nullopt, std::nullopt};
            cache.sharing = CacheSharing::core;
            add(caches, cache);
        }
    }
}

} // namespace

std::vector<CacheFacts> decodeCaches(LeafReader& leaves, const ProcessorIdentity& identity) {
    const Maker maker = makerOf(leaves);
    std::vector<CacheFacts> caches;
    caches.reserve(4); // most have that many
    if (leaves.get<cpu::ExtendedFeaturesLeaf>().topologyExtensions) {
        addDeterministic(leaves, cpu::CacheLeaf::amdNumber, caches);
    }
    if (caches.empty()) {
        addDeterministic(leaves, cpu::CacheLeaf::intelNumber, caches);
    }
    const bool deterministic = !caches.empty();
    if (!deterministic) {
        addLegacyL1(leaves, caches);
        addLegacyL2(leaves, identity, caches);
        if (maker != Maker::intel) {
            addLegacyL3(leaves, identity, caches);
        }
    }
    if (maker == Maker::cyrix) {
        addCyrix(leaves, caches);
    } else if (maker != Maker::amd && (!deterministic || identity.family == 15)) {
        addDescribed(leaves, identity, deterministic, caches);
    }
    std::sort(caches.begin(), caches.end());
    return caches;
}

} // namespace libQuarrow::topology
