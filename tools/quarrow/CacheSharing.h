#pragma once

#include <libQuarrow/cpu/x86/x86_cache.h>
#include <libQuarrow/cpu/x86/x86_physical_cpu.h>

#include <vector>

namespace quarrow {

// One cache and the logical processors that reported it.
struct CacheInstance {
    libQuarrow::cpu::x86_cache cache;
    std::vector<const libQuarrow::cpu::x86_cpu*> processors;
};

// The caches of one kind in a package.
struct CacheKind {
    libQuarrow::cpu::x86_cache cache;
    std::vector<CacheInstance> instances; // only where the processors tell one from another
    bool instancesKnown = true;
};

// In the order of level and type.
std::vector<CacheKind> cacheKindsOf(const libQuarrow::cpu::x86_physical_cpu& package);

} // namespace quarrow
