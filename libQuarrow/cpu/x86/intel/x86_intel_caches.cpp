// The caches of an Intel processor: CPUID leaves 4, 2 and 0x80000006, and how they combine.

#include <libQuarrow/cpu/x86/intel/x86_intel_caches.h>

#include <libQuarrow/cpu/x86/caches/x86_threads_per_core.h>
#include <libQuarrow/cpu/x86/decode/GuardedCpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_cache_descriptors.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

namespace libQuarrow::cpu {
namespace {

template <class Wanted>
zel::Array<x86_cache> select(const zel::Array<x86_cache>& caches, Wanted wanted) {
    zel::Array<x86_cache> selected;
    for (const x86_cache& cache : caches) {
        if (wanted(cache)) {
            selected.append(cache);
        }
    }
    return selected;
}

// L2L3CacheLeaf::l2Associativity.
x86_CacheAssociativity l2Associativity(std::uint32_t code) {
    switch (code) {
    case 1:
        return x86_cache_assoc_direct_mapped;
    case 2:
    case 4:
        return x86_cache::getSetAssocConstant(code);
    case 6:
        return x86_cache::getSetAssocConstant(8);
    case 8:
        return x86_cache::getSetAssocConstant(16);
    case 15:
        return x86_cache_assoc_full;
    default:
        return x86_cache_assoc_unknown;
    }
}

} // namespace

bool decodeIntelL2Cache(CpuidReader& cpuid, zel::Array<x86_cache>& caches) {
    caches.clear();
    cpuid_args registers;
    if (!cpuid.ask(L2L3CacheLeaf::number, 0, registers)) {
        return false;
    }
    const L2L3CacheLeaf leaf(registers);
    caches.append(x86_cache(x86_cache_level_2, x86_cache_type_unified, l2Associativity(leaf.l2Associativity),
                            std::uint64_t{leaf.l2Kilobytes} * 1024, CacheSizeInBytes, leaf.l2LineBytes));
    return true;
}

// The lowest byte of EAX is how often the leaf is to be executed; it is looked at anew each time, and being a byte it
// ends the loop after 255 executions at most.
bool decodeIntelDescriptors(CpuidReader& cpuid, zel::Array<x86_cache>& caches) {
    constexpr std::uint32_t descriptorLeaf = 2;
    std::uint32_t executions = 0;
    std::uint32_t wanted = 0;
    do {
        cpuid_args out;
        if (!cpuid.ask(descriptorLeaf, 0, out)) {
            return false;
        }
        ++executions;
        wanted = valueAt<placeOf(descriptorLeaf, "iterations")>(out);
        const std::uint32_t registers[] = {out.eax, out.ebx, out.ecx, out.edx};
        for (unsigned int k = 1; k < 16; ++k) {
            const auto descriptor = static_cast<std::uint8_t>(registers[k / 4] >> k % 4 * 8);
            // Bit 31 says that a register holds no descriptors. The register asked is number k modulo 4 and not the one
            // that the byte is from: a slip of the first release, which has to stay, so that a processor's inventory
            // never changes.
            const bool valid = !bit(registers[k % 4], 31);
            if (descriptor != 0 && valid) {
                appendIntelDescriptor(caches, descriptor);
            }
        }
    } while (executions < wanted);
    return true;
}

void appendIntelDescriptor(zel::Array<x86_cache>& caches, std::uint8_t descriptor) {
    for (const IntelCacheDescriptor& row : intelCacheDescriptors) {
        if (row.descriptor == descriptor) {
            const bool trace = row.type == x86_cache_type_trace;
            caches.append(x86_cache(x86_cache::getCacheLevelConstant(row.level), row.type,
                                    x86_cache::getSetAssocConstant(row.ways), std::uint64_t{row.size} * 1024,
                                    trace ? CacheSizeInMicroOps : CacheSizeInBytes, row.lineSizeBytes));
            return;
        }
    }
}

void addIntelCacheSharing(const x86_package_counts& package, x86_caches& caches) {
    const boost::optional<std::uint32_t> perCore = package.threadsPerCore();
    if (!perCore) {
        return; // not known: neither is who shares
    }
    for (std::size_t i = 0; i < caches.size(); ++i) {
        x86_cache& cache = caches[i];
        if (cache.getThreadsSharing() == 0 && (package.cores == 1 || cache.getCacheLevel() == x86_cache_level_1)) {
            cache.setThreadsSharing(*perCore);
        }
    }
}

bool x86_intel_info::getCaches(x86_caches& caches) const {
    const x86_pin pin(*m_cpu);
    zel::Array<x86_cache> byDescriptor;
    getCacheAndTLBInfo(byDescriptor);
    zel::Array<x86_cache> found;
    if (getDeterministicCacheInfo(found)) {
        caches.addCaches(found);
        caches.addCaches(
            select(byDescriptor, [](auto& cache) { return cache.getCacheType() == x86_cache_type_trace; }));
    } else if (getL2CacheInfo(found)) {
        caches.addCaches(found);
        caches.addCaches(select(byDescriptor, [](auto& cache) { return cache.getCacheLevel() != x86_cache_level_2; }));
    } else {
        caches.addCaches(byDescriptor);
    }
    determineCacheSharingByCPUType(caches);
    return !caches.isEmpty();
}

bool x86_intel_info::getDeterministicCacheInfo(zel::Array<x86_cache>& caches) const {
    return getCacheTopologyInfo(*m_cpu, caches);
}

bool x86_intel_info::getL2CacheInfo(zel::Array<x86_cache>& caches) const {
    GuardedCpuidReader cpuid(*m_cpu);
    return decodeIntelL2Cache(cpuid, caches);
}

bool x86_intel_info::getCacheAndTLBInfo(zel::Array<x86_cache>& caches) const {
    const x86_pin pin(*m_cpu);
    GuardedCpuidReader cpuid(*m_cpu);
    return decodeIntelDescriptors(cpuid, caches);
}

void x86_intel_info::addCacheOrTLBEntry(zel::Array<x86_cache>& caches, std::uint8_t descriptor) const {
    appendIntelDescriptor(caches, descriptor);
}

void x86_intel_info::determineCacheSharingByCPUType(x86_caches& caches) const {
    addIntelCacheSharing(packageCounts(*m_cpu), caches);
}

} // namespace libQuarrow::cpu
