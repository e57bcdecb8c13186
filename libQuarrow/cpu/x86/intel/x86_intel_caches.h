#pragma once

#include <libQuarrow/cpu/x86/caches/x86_package_counts.h>
#include <zel/Array.h>

#include <cstdint>

// Private to the library: the sources of an Intel processor's caches beside leaf 4. What they answer stands with the
// members of x86_intel_info.

namespace libQuarrow::cpu {

class CpuidReader;
class x86_cache;
class x86_caches;

bool decodeIntelL2Cache(CpuidReader& cpuid, zel::Array<x86_cache>& caches);     // leaf 0x80000006; replaces `caches`
bool decodeIntelDescriptors(CpuidReader& cpuid, zel::Array<x86_cache>& caches); // leaf 2; appends
void appendIntelDescriptor(zel::Array<x86_cache>& caches, std::uint8_t descriptor);
void addIntelCacheSharing(const x86_package_counts& package, x86_caches& caches);

} // namespace libQuarrow::cpu
