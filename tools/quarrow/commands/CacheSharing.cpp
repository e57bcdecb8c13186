#include <tools/quarrow/commands/CacheSharing.h>

#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <algorithm>
#include <map>
#include <tuple>

namespace quarrow {

using libQuarrow::cpu::x86_cache;
using libQuarrow::cpu::x86_caches;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_physical_cpu;

namespace {

// Where the whole machine's table settles where AMD's processors are, they carry no APIC ID, but give one with their
// extended topology (AMD64 manual volume 3, Fn8000_001E_EAX).
bool apicIdOf(const x86_cpu& cpu, std::uint32_t& id) {
    constexpr std::uint32_t extendedTopology = 0x8000001E;
    return cpu.getApicId(id) || (cpu.supportsFeature(libQuarrow::cpu::x86_feature_TOPEX) &&
                                 cpu.callCPUID(extendedTopology, &id, nullptr, nullptr, nullptr));
}

// Some processors tell only how many share a cache. Those are the ones whose APIC IDs differ in no more than the low
// bits, as many as that number needs: the rule of Intel's leaf 4, and by AMD64 manual volume 3 (Fn8000_001D) of AMD's
// too.
void completeTopologyIds(x86_cache& cache, const x86_cpu& cpu) {
    std::uint32_t id = 0;
    std::uint32_t mask = 0;
    const std::uint32_t threads = cache.getThreadsSharing();
    if (threads == 0 || cache.getTopologyIds(id, mask) || !apicIdOf(cpu, id)) {
        return;
    }
    std::uint64_t span = 1;
    while (span < threads) {
        span *= 2;
    }
    cache.setTopologyIds(id, static_cast<std::uint32_t>(~(span - 1)));
}

auto propertiesOf(const x86_cache& cache) {
    std::uint64_t size = 0;
    libQuarrow::cpu::CacheSizeBaseUnitType unit{};
    cache.getCacheSize(size, unit);
    return std::make_tuple(cache.getCacheLevel(), cache.getCacheType(), cache.getAssociativity(),
                           cache.getLineSizeBytes(), size, unit);
}

// Sorts the caches of processors by kind and instance, each kind and instance where it was first seen.
class Sorter {
  public:
    void add(const x86_cache& cache, const x86_cpu& cpu) {
        const std::size_t number = m_kindNumbers.emplace(propertiesOf(cache), kinds.size()).first->second;
        if (number == kinds.size()) {
            kinds.emplace_back().cache = cache;
        }
        CacheKind& kind = kinds[number];
        std::uint32_t id = 0;
        std::uint32_t mask = 0;
        if (!cache.getTopologyIds(id, mask)) {
            if (cache.getThreadsSharing() == 1) {
                kind.instances.push_back({&cpu});
            } else {
                kind.instancesKnown = false;
            }
            return;
        }
        const auto place = std::make_tuple(number, id, mask);
        const std::size_t instance = m_instanceNumbers.emplace(place, kind.instances.size()).first->second;
        if (instance == kind.instances.size()) {
            kind.instances.emplace_back();
        }
        kind.instances[instance].push_back(&cpu);
        // More than there are IDs with these bits: some of the IDs are made up, as hypervisors do.
        kind.instancesKnown = kind.instancesKnown && kind.instances[instance].size() <= std::uint64_t{~mask} + 1;
    }

    std::vector<CacheKind> kinds;

  private:
    std::map<decltype(propertiesOf(x86_cache())), std::size_t> m_kindNumbers;
    std::map<std::tuple<std::size_t, std::uint32_t, std::uint32_t>, std::size_t> m_instanceNumbers;
};

} // namespace

std::vector<CacheKind> cacheKindsOf(const x86_physical_cpu& package) {
    Sorter sorter;
    for (std::size_t i = 0; i < package.getThreadCount(); ++i) {
        const x86_cpu& cpu = package.getThread(i);
        x86_caches caches;
        if (!cpu.getCaches(caches)) {
            continue;
        }
        for (x86_cache cache : caches) {
            completeTopologyIds(cache, cpu);
            sorter.add(cache, cpu);
        }
    }
    std::stable_sort(sorter.kinds.begin(), sorter.kinds.end(),
                     [](const CacheKind& a, const CacheKind& b) { return a.cache < b.cache; });
    return std::move(sorter.kinds);
}

} // namespace quarrow
