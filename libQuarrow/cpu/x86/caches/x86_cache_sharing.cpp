#include <libQuarrow/cpu/x86/x86_cache_sharing.h>

#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace libQuarrow::cpu {
namespace {

template <class Leaf>
boost::optional<Leaf> ask(const x86_cpu& cpu, std::uint32_t number = Leaf::number) {
    cpuid_args registers{number, 0, 0, 0};
    return cpu.callCPUID(registers, registers) ? boost::make_optional(Leaf(registers)) : boost::none;
}

boost::optional<AmdTopologyLeaf> amdTopology(const x86_cpu& cpu) {
    return cpu.supportsFeature(x86_feature_TOPEX) ? ask<AmdTopologyLeaf>(cpu) : boost::none;
}

// All of 32 bits comes before the 8 bits of leaf 1, which on large machines several processors have in common. Where
// the whole machine's table settles where AMD's processors are, they carry no APIC ID, but give one with their topology
// leaf.
boost::optional<std::uint32_t> apicIdOf(const x86_cpu& cpu) {
    for (const std::uint32_t number :
         {TopologyLevelLeaf::amdNumber, TopologyLevelLeaf::v2Number, TopologyLevelLeaf::number}) {
        const auto level = ask<TopologyLevelLeaf>(cpu, number);
        if (level && level->logicalProcessors != 0) {
            return level->x2apicId;
        }
    }
    std::uint32_t id = 0;
    if (cpu.getApicId(id)) {
        return id;
    }
    const boost::optional<AmdTopologyLeaf> topology = amdTopology(cpu);
    return topology ? boost::make_optional(topology->extendedApicId) : boost::none;
}

auto propertiesOf(const x86_cache& cache) {
    std::uint64_t size = 0;
    CacheSizeBaseUnitType unit{};
    cache.getCacheSize(size, unit);
    return std::make_tuple(cache.getCacheLevel(), cache.getCacheType(), cache.getAssociativity(),
                           cache.getLineSizeBytes(), size, unit);
}

// What tells one cache of a kind from another: the ID under a mask, or the package and the node.
struct Instance {
    bool isNode;
    std::uint32_t first;
    std::uint32_t second;
    std::uint64_t mostProcessors; // how many can have it in common

    bool operator<(const Instance& other) const {
        return std::tie(isNode, first, second) < std::tie(other.isNode, other.first, other.second);
    }
};

Instance ofTopologyIds(std::uint32_t id, std::uint32_t mask) {
    return {false, id, mask, std::uint64_t{~mask} + 1};
}

// Some processors tell only how many share a cache. Those are the ones whose APIC IDs differ in no more than the low
// bits, as many as that number needs: the rule of Intel's leaf 4, and by the AMD64 manual, volume 3 (Fn8000_001D), of
// AMD's too.
Instance ofApicId(std::uint32_t apicId, std::uint32_t threads) {
    std::uint64_t span = 1;
    while (span < threads) {
        span *= 2;
    }
    const auto mask = static_cast<std::uint32_t>(~(span - 1));
    return ofTopologyIds(apicId & mask, mask);
}

} // namespace

boost::optional<x86_cache_sharing::Node> x86_cache_sharing::nodeOf(const x86_cpu& cpu) {
    const boost::optional<AmdTopologyLeaf> topology = amdTopology(cpu);
    const auto size = topology && topology->nodesPerProcessor > 1 ? ask<PackageSizeLeaf>(cpu) : boost::none;
    return size ? boost::make_optional(
                      Node{cpu.getLocation().cpu, topology->nodeId, size->threads / topology->nodesPerProcessor})
                : boost::none;
}

const x86_caches& x86_cache_sharing::cachesOf(const x86_cpu& cpu) {
    const auto [place, isNew] = m_caches.try_emplace(&cpu);
    if (isNew) {
        cpu.getCaches(place->second); // where it fails there are none
    }
    return place->second;
}

const x86_cache_sharing::Place& x86_cache_sharing::placeOf(const x86_cpu& cpu) {
    const auto [place, isNew] = m_places.try_emplace(&cpu);
    if (isNew) {
        const x86_pin pin(cpu);
        cachesOf(cpu);
        place->second = {apicIdOf(cpu), nodeOf(cpu)};
    }
    return place->second;
}

// Sorts the caches of processors by kind and instance, each kind and instance where it was first seen.
class x86_cache_sharing::Sorter {
  public:
    void add(const x86_cache& cache, const x86_cpu& cpu, const Place& place) {
        const std::size_t number = m_kindNumbers.emplace(propertiesOf(cache), kinds.size()).first->second;
        if (number == kinds.size()) {
            kinds.emplace_back().cache = cache;
        }
        x86_cache_kind& kind = kinds[number];
        const boost::optional<Instance> key = instanceOf(cache, place);
        if (!key) {
            if (cache.getThreadsSharing() == 1) {
                kind.instances.push_back({&cpu});
            } else {
                kind.instancesKnown = false;
            }
            return;
        }
        const std::size_t instance =
            m_instances.emplace(std::make_pair(number, *key), kind.instances.size()).first->second;
        if (instance == kind.instances.size()) {
            kind.instances.emplace_back();
        }
        kind.instances[instance].push_back(&cpu);
        // More than can have it in common: some of the IDs are made up, as hypervisors do.
        kind.instancesKnown = kind.instancesKnown && kind.instances[instance].size() <= key->mostProcessors;
    }

    std::vector<x86_cache_kind> kinds;

  private:
    // A cache that all of a node share is the node's: the IDs of packages with nodes of six cores follow one another
    // without a gap at eight.
    static boost::optional<Instance> instanceOf(const x86_cache& cache, const Place& place) {
        const std::uint32_t threads = cache.getThreadsSharing();
        std::uint32_t id = 0;
        std::uint32_t mask = 0;
        if (cache.getTopologyIds(id, mask)) {
            return ofTopologyIds(id, mask);
        }
        if (threads != 0 && place.node && place.node->threads == threads) {
            return Instance{true, place.node->package, place.node->number, threads};
        }
        return threads != 0 && place.apicId ? ofApicId(*place.apicId, threads) : boost::optional<Instance>();
    }

    std::map<decltype(propertiesOf(x86_cache())), std::size_t> m_kindNumbers;
    std::map<std::pair<std::size_t, Instance>, std::size_t> m_instances;
};

std::vector<x86_cache_kind> x86_cache_sharing::kindsOf(const std::vector<const x86_cpu*>& cpus) {
    Sorter sorter;
    for (const x86_cpu* cpu : cpus) {
        const Place& place = placeOf(*cpu);
        for (const x86_cache& cache : cachesOf(*cpu)) {
            sorter.add(cache, *cpu, place);
        }
    }
    std::stable_sort(sorter.kinds.begin(), sorter.kinds.end(),
                     [](const x86_cache_kind& a, const x86_cache_kind& b) { return a.cache < b.cache; });
    return std::move(sorter.kinds);
}

std::vector<x86_cache_kind> x86_cache_sharing::kindsOf(const x86_physical_cpu& package) {
    std::vector<const x86_cpu*> cpus;
    for (std::size_t i = 0; i < package.getThreadCount(); ++i) {
        cpus.push_back(&package.getThread(i));
    }
    return kindsOf(cpus);
}

std::vector<x86_cache_kind> x86_cache_sharing::kindsOf(const zel::Array<x86_cpu>& cpus) {
    std::vector<const x86_cpu*> all;
    for (const x86_cpu& cpu : cpus) {
        all.push_back(&cpu);
    }
    return kindsOf(all);
}

bool x86_cache_sharing::cachesOf(const x86_physical_cpu& package, x86_caches& caches) {
    return package.getCaches(caches, [this](const x86_cpu& cpu) { return cachesOf(cpu); });
}

} // namespace libQuarrow::cpu
