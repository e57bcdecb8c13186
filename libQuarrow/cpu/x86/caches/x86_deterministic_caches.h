#pragma once

#include <libQuarrow/cpu/x86/x86_inst.h>
#include <zel/Array.h>

#include <boost/optional.hpp>

#include <cstdint>

// Private to the library: deterministic cache parameters, CPUID leaf 4 (Intel) and leaf 0x8000001D (AMD), one sub-leaf
// per cache, of the same layout.

namespace libQuarrow::cpu {

class CpuidReader;
class x86_cache;

// What x86_vendor_info::getCacheTopologyInfo says of its answer. `apicId` gives the caches of an Intel processor their
// topology IDs.
bool decodeDeterministicCaches(x86_cpu_vendor vendor, const boost::optional<std::uint32_t>& apicId, CpuidReader& cpuid,
                               zel::Array<x86_cache>& caches);

} // namespace libQuarrow::cpu
