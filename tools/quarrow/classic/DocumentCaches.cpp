#include <tools/quarrow/classic/ClassicDocument.h>

namespace quarrow {

using libQuarrow::cpu::x86_cache;
using nlohmann::ordered_json;

namespace {

ordered_json classicCacheJson(const x86_cache& cache) {
    const auto level = cache.getCacheLevel();
    const auto type = cache.getCacheType();
    const auto associativity = cache.getAssociativity();
    std::uint32_t ways = 0;
    const bool waysKnown = x86_cache::getNWayAssocFromConstant(associativity, ways);
    std::uint64_t size = 0;
    libQuarrow::cpu::CacheSizeBaseUnitType unit{};
    cache.getCacheSize(size, unit);
    const bool inBytes = unit == libQuarrow::cpu::CacheSizeInBytes;
    const zel::String levelText = level == libQuarrow::cpu::x86_cache_level_unknown ? "" : x86_cache::levelText(level);
    const zel::String typeText = type == libQuarrow::cpu::x86_cache_type_unknown ? "" : x86_cache::typeText(type);
    const zel::String associativityText = associativity == libQuarrow::cpu::x86_cache_assoc_unknown
                                              ? zel::String()
                                              : x86_cache::associativityText(associativity);
    return {{"level", knownText(levelText)},
            {"type", knownText(typeText)},
            {"associativity", knownText(associativityText)},
            {"ways", waysKnown ? ordered_json(ways) : ordered_json()},
            {"lineSizeBytes", knownNumber(cache.getLineSizeBytes())},
            {"sizeBytes", inBytes ? ordered_json(size) : ordered_json()},
            {"sizeMicroOps", inBytes ? ordered_json() : ordered_json(size)},
            {"threadsSharing", knownNumber(cache.getThreadsSharing())},
            {"instances", cache.getInstanceCount()}};
}

} // namespace

ordered_json cachesJson(const libQuarrow::cpu::x86_caches& caches) {
    ordered_json list = ordered_json::array();
    for (const x86_cache& cache : caches) {
        list.push_back(classicCacheJson(cache));
    }
    return list;
}

} // namespace quarrow
