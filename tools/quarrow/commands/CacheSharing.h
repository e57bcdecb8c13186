#pragma once

#include <libQuarrow/cpu/x86/x86_cache.h>
#include <libQuarrow/cpu/x86/x86_physical_cpu.h>

#include <vector>

namespace quarrow {

// The caches of one kind in a package: of the same level, type, size and so on.
struct CacheKind {
    libQuarrow::cpu::x86_cache cache;
    // For each cache of this kind, the logical processors that reported it. Incomplete unless instancesKnown.
    std::vector<std::vector<const libQuarrow::cpu::x86_cpu*>> instances;
    bool instancesKnown = true; // false: some do not tell one from another
};

// In the order of level and type.
std::vector<CacheKind> cacheKindsOf(const libQuarrow::cpu::x86_physical_cpu& package);

} // namespace quarrow
