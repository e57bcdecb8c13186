#pragma once

#include <libQuarrow/cpu/x86/caches/x86_package_counts.h>
#include <libQuarrow/cpu/x86/x86_cache.h>

#include <cstdint>

// Private to the library: the caches of an AMD processor without leaf 0x8000001D. AMD's manual, volume 3, appendix E.

namespace libQuarrow::cpu {

class CpuidReader;
class x86_caches;

// These add nothing where the leaf is not there.
void decodeAmdL1Caches(CpuidReader& cpuid, x86_caches& caches);      // leaf 0x80000005
void decodeAmdL2AndL3Caches(CpuidReader& cpuid, x86_caches& caches); // leaf 0x80000006
// What the associativity fields of these leaves stand for.
x86_CacheAssociativity amdL1Associativity(std::uint32_t field);
x86_CacheAssociativity amdL2OrL3Associativity(std::uint32_t code);
// Who shares the caches, by what is known of the display families, replacing what the records say (an Intel processor's
// would only be filled in).
void setAmdCacheSharing(std::uint32_t displayFamily, const x86_package_counts& package, x86_caches& caches);

} // namespace libQuarrow::cpu
