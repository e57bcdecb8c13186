#include <libQuarrow/cpu/x86/x86_caches.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

namespace libQuarrow::cpu {

x86_caches::x86_caches() {
    m_caches.reserve(4);
}

x86_caches::x86_caches(const zel::Array<x86_cache>& caches) : x86_caches() {
    addCaches(caches);
}

void x86_caches::addCache(const x86_cache& cache) {
    addCaches(zel::Array<x86_cache>{cache});
}

void x86_caches::addCaches(const zel::Array<x86_cache>& caches) {
    const std::size_t count = caches.size(); // `caches` may be this very set
    for (std::size_t i = 0; i < count; ++i) {
        m_caches.append(caches[i]);
    }
    std::stable_sort(m_caches.begin(), m_caches.end());
}

void x86_caches::addCaches(const x86_caches& caches) {
    addCaches(caches.m_caches);
}

zel::Array<x86_cache> x86_caches::withoutDuplicates() const {
    const auto topologyKey = [](const x86_cache& cache) {
        return std::make_pair(cache.properties(), std::make_pair(cache.m_topologyId, cache.m_topologyMask));
    };
    std::set<decltype(topologyKey(x86_cache()))> seen;
    zel::Array<x86_cache> kept;
    for (x86_cache cache : m_caches) {
        if (cache.m_hasTopologyIds) {
            if (!seen.insert(topologyKey(cache)).second) {
                continue;
            }
            cache.m_instanceCount = 1;
            // What the processor reported is given up on purpose: x86_physical_cpu::getCaches divides the instances by
            // it, and these were counted once each instead of once per thread.
            cache.m_threadsSharing = 1;
        }
        kept.append(cache);
    }
    return kept;
}

zel::Array<x86_cache> x86_caches::combined(const zel::Array<x86_cache>& caches) {
    std::map<decltype(x86_cache().properties()), std::size_t> found;
    zel::Array<x86_cache> result;
    for (x86_cache cache : caches) {
        const auto [place, isNew] = found.emplace(cache.properties(), result.size());
        if (isNew) {
            cache.clearTopologyIds();
            cache.m_topologyMask = 0;
            result.append(cache);
        } else {
            x86_cache& first = result[place->second];
            first.setInstanceCount(first.getInstanceCount() + cache.getInstanceCount());
        }
    }
    return result;
}

void x86_caches::consolidateCaches(bool combineInstances) {
    zel::Array<x86_cache> kept = withoutDuplicates();
    m_caches = combineInstances ? combined(kept) : std::move(kept);
}

bool x86_caches::findCache(x86_CacheLevel level, x86_CacheType type, std::size_t n, std::size_t& index) const {
    for (std::size_t i = 0; i < m_caches.size(); ++i) {
        if (m_caches[i].m_level == level && m_caches[i].m_type == type && n-- == 0) {
            index = i;
            return true;
        }
    }
    return false;
}

zel::String x86_caches::toString(unsigned int indent) const {
    zel::String report;
    for (const x86_cache& cache : m_caches) {
        report += cache.toString(indent) + "\n";
    }
    return report;
}

} // namespace libQuarrow::cpu
