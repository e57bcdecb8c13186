// The caches of an AMD processor: CPUID leaf 0x8000001D, or else leaves 0x80000005 and 0x80000006. AMD's manual, volume
// 3, appendix E.

#include <libQuarrow/cpu/x86/x86_amd_info.h>

#include <libQuarrow/cpu/x86/caches/x86_threads_per_core.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

namespace libQuarrow::cpu {

bool x86_amd_info::getCaches(x86_caches& caches) const {
    const x86_pin pin(*m_cpu);
    if (getCacheTopologyInfo(caches)) {
        return true;
    }
    appendL1Caches(caches);
    appendL2AndL3Caches(caches);
    determineCacheSharingByCPUType(caches);
    return !caches.isEmpty();
}

// True too, on purpose, when nothing was found but `caches` held something before: then the legacy leaves are not
// asked.
bool x86_amd_info::getCacheTopologyInfo(x86_caches& caches) const {
    zel::Array<x86_cache> found;
    if (x86_vendor_info::getCacheTopologyInfo(*m_cpu, found)) {
        caches.addCaches(found);
    }
    return !caches.isEmpty();
}

// ECX data, EDX instructions: KB in bits 31 to 24, associativity in 23 to 16, line size in 7 to 0.
void x86_amd_info::appendL1Caches(x86_caches& caches) const {
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
    if (!m_cpu->callCPUID(0x80000005, nullptr, nullptr, &ecx, &edx)) {
        return;
    }
    const auto decode = [this](x86_CacheType type, std::uint32_t value) {
        return x86_cache(x86_cache_level_1, type, getL1CacheAssoc(value >> 16 & 0xFF),
                         std::uint64_t{value >> 24} * 1024, CacheSizeInBytes, value & 0xFF);
    };
    caches.addCaches({decode(x86_cache_type_data, ecx), decode(x86_cache_type_instruction, edx)});
}

// ECX L2: KB in bits 31 to 16; EDX L3: units of 512 KB in bits 31 to 18. Both: associativity in bits 15 to 12, line
// size in 7 to 0.
void x86_amd_info::appendL2AndL3Caches(x86_caches& caches) const {
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
    if (!m_cpu->callCPUID(0x80000006, nullptr, nullptr, &ecx, &edx)) {
        return;
    }
    const auto decode = [this](x86_CacheLevel level, std::uint32_t value, std::uint64_t size) {
        return x86_cache(level, x86_cache_type_unified, getL2OrL3CacheAssoc(value >> 12 & 0xF), size, CacheSizeInBytes,
                         value & 0xFF);
    };
    caches.addCache(decode(x86_cache_level_2, ecx, std::uint64_t{ecx >> 16} * 1024));
    const std::uint32_t l3Units = edx >> 18;
    if (l3Units != 0) {
        caches.addCache(decode(x86_cache_level_3, edx, std::uint64_t{l3Units} << 19));
    }
}

x86_CacheAssociativity x86_amd_info::getL1CacheAssoc(std::uint32_t code) const {
    switch (code) {
    case 0:
        return x86_cache_assoc_unknown;
    case 1:
        return x86_cache_assoc_direct_mapped;
    case 0xFF:
        return x86_cache_assoc_full;
    default:
        return x86_cache::getSetAssocConstant(code);
    }
}

x86_CacheAssociativity x86_amd_info::getL2OrL3CacheAssoc(std::uint32_t code) const {
    constexpr std::uint32_t unknown = x86_cache_assoc_unknown;
    constexpr std::uint32_t associativities[16] = {
        unknown, x86_cache_assoc_direct_mapped, 2, unknown, 4, unknown, 8, unknown, 16, unknown, 32, 48, 64, 96,
        128,     x86_cache_assoc_full};
    return static_cast<x86_CacheAssociativity>(code < 16 ? associativities[code] : unknown);
}

// By what is known of the families, replacing what the records say (an Intel processor's would only be filled in).
void x86_amd_info::determineCacheSharingByCPUType(x86_caches& caches) const {
    const boost::optional<std::uint32_t> perCore = threadsPerCore(*m_cpu);
    if (!perCore) {
        return; // not known: neither is who shares
    }
    const bool oneCore = m_cpu->getNumberCoresPerPhysicalPackage() == 1;
    const std::uint32_t family = m_cpu->getSignature().displayFamily;
    const bool l2PerCore = (family >= 0x0F && family <= 0x12) || family == 0x14;
    const bool l3PerPackage = family == 0x10 || family == 0x11;
    for (std::size_t i = 0; i < caches.size(); ++i) {
        x86_cache& cache = caches[i];
        const x86_CacheLevel level = cache.getCacheLevel();
        if (oneCore || level == x86_cache_level_1 || (level == x86_cache_level_2 && l2PerCore)) {
            cache.setThreadsSharing(*perCore);
        } else if (level == x86_cache_level_3 && l3PerPackage) {
            cache.setThreadsSharing(m_cpu->getNumberThreadsPerPhysicalPackage());
        }
    }
}

} // namespace libQuarrow::cpu
