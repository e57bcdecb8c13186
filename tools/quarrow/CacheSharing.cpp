#include <tools/quarrow/CacheSharing.h>

#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <algorithm>

namespace quarrow {

using libQuarrow::cpu::x86_cache;
using libQuarrow::cpu::x86_caches;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_physical_cpu;

namespace {

template <class Record>
Record& findOrAdd(std::vector<Record>& records, const x86_cache& cache, libQuarrow::cpu::ComparisonType comparison) {
    const auto found = std::find_if(records.begin(), records.end(), [&](const Record& record) {
        return record.cache.compareCaches(cache, comparison).value_or(false);
    });
    if (found != records.end()) {
        return *found;
    }
    records.emplace_back();
    records.back().cache = cache;
    return records.back();
}

// Some processors tell only how many share a cache. Those are the ones whose APIC IDs differ in no more than the low
// bits, as many as that number needs: the rule of Intel's leaf 4, and by AMD64 manual volume 3 (Fn8000_001D) of AMD's
// too.
void completeTopologyIds(x86_cache& cache, const x86_cpu& cpu) {
    std::uint32_t id = 0;
    std::uint32_t mask = 0;
    const std::uint32_t threads = cache.getThreadsSharing();
    if (threads == 0 || cache.getTopologyIds(id, mask) || !cpu.getApicId(id)) {
        return;
    }
    std::uint64_t span = 1;
    while (span < threads) {
        span *= 2;
    }
    cache.setTopologyIds(id, static_cast<std::uint32_t>(~(span - 1)));
}

} // namespace

std::vector<CacheKind> cacheKindsOf(const x86_physical_cpu& package) {
    std::vector<CacheKind> kinds;
    for (std::size_t i = 0; i < package.getThreadCount(); ++i) {
        const x86_cpu& cpu = package.getThread(i);
        x86_caches caches;
        if (!cpu.getCaches(caches)) {
            continue;
        }
        for (x86_cache cache : caches) {
            completeTopologyIds(cache, cpu);
            CacheKind& kind = findOrAdd(kinds, cache, libQuarrow::cpu::CompareProperties);
            std::uint32_t id = 0;
            std::uint32_t mask = 0;
            kind.instancesKnown = kind.instancesKnown && cache.getTopologyIds(id, mask);
            findOrAdd(kind.instances, cache, libQuarrow::cpu::ComparePropertiesAndTopology).processors.push_back(&cpu);
        }
    }
    std::stable_sort(kinds.begin(), kinds.end(),
                     [](const CacheKind& a, const CacheKind& b) { return a.cache < b.cache; });
    return kinds;
}

} // namespace quarrow
