#pragma once

#include <libQuarrow/cpu/x86/x86_caches.h>

#include <string>

namespace testing_support {

// "L1D 32768/64 8 x2, ...": level and type, size/line, ways or the like, and how many threads share it.
inline std::string textOf(const libQuarrow::cpu::x86_caches& caches) {
    using namespace libQuarrow::cpu;
    std::string text;
    for (const x86_cache& cache : caches) {
        std::uint64_t size = 0;
        CacheSizeBaseUnitType unit{};
        cache.getCacheSize(size, unit);
        const std::string ways = x86_cache::associativityText(cache.getAssociativity()).toUtf8();
        text += text.empty() ? "" : ", ";
        text += x86_cache::levelText(cache.getCacheLevel());
        text += *x86_cache::typeText(cache.getCacheType());
        text += " " + std::to_string(size) + (unit == CacheSizeInMicroOps ? " uops/" : "/") +
                std::to_string(cache.getLineSizeBytes()) + " " + ways.substr(0, ways.find_first_of(" -")) + " x" +
                std::to_string(cache.getThreadsSharing());
    }
    return text;
}

// "4x1 1x8": instances of each, and how many threads share one.
inline zel::String countsOf(const libQuarrow::cpu::x86_caches& caches) {
    zel::Array<zel::String> counts;
    for (const libQuarrow::cpu::x86_cache& cache : caches) {
        counts.append(zel::String::SprintfFormat("%ux%u", cache.getInstanceCount(), cache.getThreadsSharing()));
    }
    return zel::String::join(counts, " ");
}

} // namespace testing_support
