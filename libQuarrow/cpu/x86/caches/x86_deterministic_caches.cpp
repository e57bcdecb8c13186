#include <libQuarrow/cpu/x86/caches/x86_deterministic_caches.h>

#include <libQuarrow/cpu/x86/decode/GuardedCpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/x86_cache.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>
#include <libQuarrow/cpu/x86/x86_vendor_info.h>
#include <zel/Log.h>

namespace libQuarrow::cpu {
namespace {

// Processors have five caches or fewer. One that never reports the end is not asked for ever.
constexpr std::uint32_t maxSubleaves = 64;

zel::LogChannel& vendorLog() {
    static zel::LogChannel& channel = zel::LogFactory::channel("libQuarrow.x86_vendor_info");
    return channel;
}

// The leaf that describes the caches; none when the processor has none.
boost::optional<std::uint32_t> cacheTopologyLeaf(x86_cpu_vendor vendor, CpuidReader& cpuid) {
    if (vendor == x86_vendor_intel) {
        return std::uint32_t{CacheLeaf::intelNumber};
    }
    cpuid_args registers;
    if (vendor != x86_vendor_amd || !cpuid.ask(ExtendedFeaturesLeaf::number, 0, registers)) {
        return boost::none;
    }
    const bool there = ExtendedFeaturesLeaf(registers).topologyExtensions;
    vendorLog().log(zel::LogTrace, __LINE__,
                    zel::String("CPUID - Cache topology supported: ") + (there ? "yes" : "no"));
    return boost::make_optional(there, std::uint32_t{CacheLeaf::amdNumber});
}

x86_CacheType cacheType(std::uint32_t type) {
    switch (type) {
    case CacheLeaf::data:
        return x86_cache_type_data;
    case CacheLeaf::instruction:
        return x86_cache_type_instruction;
    case CacheLeaf::unified:
        return x86_cache_type_unified;
    default:
        return x86_cache_type_unknown;
    }
}

x86_cache decodeCache(x86_CacheType type, const CacheLeaf& leaf) {
    // In 32 bits, as this system has always counted: a size that wraps is one that no processor has, and stays what it
    // was for those who compare inventories.
    const std::uint32_t setSize = leaf.partitions * leaf.lineBytes * leaf.ways;
    const std::uint64_t size = setSize * leaf.sets;
    // A single way stays unknown here, though leaf 0x80000006 has a code for direct mapped: a ways field of 0 is also
    // what one that nobody filled in looks like.
    const auto associativity = leaf.fullyAssociative ? x86_cache_assoc_full : x86_cache::getSetAssocConstant(leaf.ways);

    x86_cache cache(x86_cache::getCacheLevelConstant(leaf.level), type, associativity, size, CacheSizeInBytes,
                    leaf.lineBytes);
    cache.setThreadsSharing(leaf.threadsSharing);
    return cache;
}

// The APIC ID bits that are equal in all processors that share a cache: all above those that count `threads` of them.
std::uint32_t instanceMask(std::uint32_t threads) {
    std::uint32_t low = 0;
    while (low < threads - 1) {
        low = low << 1 | 1;
    }
    return ~low;
}

} // namespace

bool decodeDeterministicCaches(x86_cpu_vendor vendor, const boost::optional<std::uint32_t>& apicId, CpuidReader& cpuid,
                               zel::Array<x86_cache>& caches) {
    const boost::optional<std::uint32_t> number = cacheTopologyLeaf(vendor, cpuid);
    if (!number) {
        return false;
    }
    caches.clear();
    for (std::uint32_t subleaf = 0; subleaf < maxSubleaves; ++subleaf) {
        cpuid_args registers;
        if (!cpuid.ask(*number, subleaf, registers)) {
            return false;
        }
        const CacheLeaf leaf(registers);
        if (leaf.type == CacheLeaf::none) {
            break;
        }
        const x86_CacheType type = cacheType(leaf.type);
        if (type == x86_cache_type_unknown) {
            continue;
        }
        x86_cache cache = decodeCache(type, leaf);
        if (vendor == x86_vendor_intel && apicId) {
            cache.setTopologyIds(*apicId, instanceMask(leaf.threadsSharing));
        }
        caches.append(cache);
    }
    return !caches.isEmpty();
}

bool x86_vendor_info::getCacheTopologyInfo(const x86_cpu& cpu, zel::Array<x86_cache>& caches) {
    const x86_pin pin(cpu);
    GuardedCpuidReader cpuid(cpu);
    std::uint32_t apicId = 0;
    const bool known = cpu.getApicId(apicId);
    return decodeDeterministicCaches(cpu.getVendor(), boost::make_optional(known, apicId), cpuid, caches);
}

} // namespace libQuarrow::cpu
