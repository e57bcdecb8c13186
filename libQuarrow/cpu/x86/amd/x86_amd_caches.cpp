#include <libQuarrow/cpu/x86/amd/x86_amd_caches.h>

#include <libQuarrow/cpu/x86/caches/x86_threads_per_core.h>
#include <libQuarrow/cpu/x86/decode/GuardedCpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/x86_amd_info.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

namespace libQuarrow::cpu {

void decodeAmdL1Caches(CpuidReader& cpuid, x86_caches& caches) {
    cpuid_args registers;
    if (!cpuid.ask(L1CacheLeaf::number, 0, registers)) {
        return;
    }
    const L1CacheLeaf leaf(registers);
    const auto decode = [](x86_CacheType type, const L1CacheLeaf::Cache& cache) {
        return x86_cache(x86_cache_level_1, type, amdL1Associativity(cache.associativity),
                         std::uint64_t{cache.kilobytes} * 1024, CacheSizeInBytes, cache.lineBytes);
    };
    caches.addCaches({decode(x86_cache_type_data, leaf.data), decode(x86_cache_type_instruction, leaf.instruction)});
}

void decodeAmdL2AndL3Caches(CpuidReader& cpuid, x86_caches& caches) {
    cpuid_args registers;
    if (!cpuid.ask(L2L3CacheLeaf::number, 0, registers)) {
        return;
    }
    const L2L3CacheLeaf leaf(registers);
    const auto decode = [](x86_CacheLevel level, std::uint32_t associativity, std::uint64_t size, std::uint32_t line) {
        return x86_cache(level, x86_cache_type_unified, amdL2OrL3Associativity(associativity), size, CacheSizeInBytes,
                         line);
    };
    caches.addCache(
        decode(x86_cache_level_2, leaf.l2Associativity, std::uint64_t{leaf.l2Kilobytes} * 1024, leaf.l2LineBytes));
    if (leaf.l3HalfMegabytes != 0) {
        caches.addCache(decode(x86_cache_level_3, leaf.l3Associativity, std::uint64_t{leaf.l3HalfMegabytes} << 19,
                               leaf.l3LineBytes));
    }
}

x86_CacheAssociativity amdL1Associativity(std::uint32_t field) {
    switch (field) {
    case 0:
        return x86_cache_assoc_unknown;
    case 1:
        return x86_cache_assoc_direct_mapped;
    case 0xFF:
        return x86_cache_assoc_full;
    default:
        return x86_cache::getSetAssocConstant(field);
    }
}

x86_CacheAssociativity amdL2OrL3Associativity(std::uint32_t code) {
    constexpr std::uint32_t unknown = x86_cache_assoc_unknown;
    constexpr std::uint32_t associativities[16] = {
        unknown, x86_cache_assoc_direct_mapped, 2, unknown, 4, unknown, 8, unknown, 16, unknown, 32, 48, 64, 96,
        128,     x86_cache_assoc_full};
    return static_cast<x86_CacheAssociativity>(code < 16 ? associativities[code] : unknown);
}

void setAmdCacheSharing(std::uint32_t displayFamily, const x86_package_counts& package, x86_caches& caches) {
    const boost::optional<std::uint32_t> perCore = package.threadsPerCore();
    if (!perCore) {
        return; // not known: neither is who shares
    }
    const bool l2PerCore = (displayFamily >= 0x0F && displayFamily <= 0x12) || displayFamily == 0x14;
    const bool l3PerPackage = displayFamily == 0x10 || displayFamily == 0x11;
    for (std::size_t i = 0; i < caches.size(); ++i) {
        x86_cache& cache = caches[i];
        const x86_CacheLevel level = cache.getCacheLevel();
        if (package.cores == 1 || level == x86_cache_level_1 || (level == x86_cache_level_2 && l2PerCore)) {
            cache.setThreadsSharing(*perCore);
        } else if (level == x86_cache_level_3 && l3PerPackage) {
            cache.setThreadsSharing(package.threads);
        }
    }
}

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

// True too when nothing was found but `caches` held something before: the legacy leaves are not asked then. Sets that
// are gathered from several processors have always come out so.
bool x86_amd_info::getCacheTopologyInfo(x86_caches& caches) const {
    zel::Array<x86_cache> found;
    if (x86_vendor_info::getCacheTopologyInfo(*m_cpu, found)) {
        caches.addCaches(found);
    }
    return !caches.isEmpty();
}

void x86_amd_info::appendL1Caches(x86_caches& caches) const {
    GuardedCpuidReader cpuid(*m_cpu);
    decodeAmdL1Caches(cpuid, caches);
}

void x86_amd_info::appendL2AndL3Caches(x86_caches& caches) const {
    GuardedCpuidReader cpuid(*m_cpu);
    decodeAmdL2AndL3Caches(cpuid, caches);
}

x86_CacheAssociativity x86_amd_info::getL1CacheAssoc(std::uint32_t code) const {
    return amdL1Associativity(code);
}

x86_CacheAssociativity x86_amd_info::getL2OrL3CacheAssoc(std::uint32_t code) const {
    return amdL2OrL3Associativity(code);
}

void x86_amd_info::determineCacheSharingByCPUType(x86_caches& caches) const {
    setAmdCacheSharing(m_cpu->getSignature().displayFamily, packageCounts(*m_cpu), caches);
}

} // namespace libQuarrow::cpu
