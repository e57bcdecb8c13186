// Deterministic cache parameters: CPUID leaf 4 (Intel) and leaf 0x8000001D (AMD), one sub-leaf per cache, of the same
// layout. Intel's manual, volume 2, CPUID; AMD's manual, volume 3, appendix E.

#include <libQuarrow/cpu/x86/x86_vendor_info.h>

#include <libQuarrow/cpu/x86/x86_cache.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>
#include <zel/Log.h>

namespace libQuarrow::cpu {
namespace {

// Processors have five caches or fewer. One that never reports the end is not asked for ever.
constexpr std::uint32_t maxSubleaves = 64;

zel::LogChannel& vendorLog() {
    static zel::LogChannel& channel = zel::LogFactory::channel("libQuarrow.x86_vendor_info");
    return channel;
}

// The leaf that describes the caches; false when the processor has none.
bool cacheTopologyLeaf(const x86_cpu& cpu, std::uint32_t& leaf) {
    if (cpu.isIntel()) {
        leaf = 4;
        return true;
    }
    std::uint32_t ecx = 0;
    if (!cpu.isAmd() || !cpu.callCPUID(0x80000001, nullptr, nullptr, &ecx, nullptr)) {
        return false;
    }
    const bool topologyExtensions = (ecx >> 22 & 1) != 0;
    vendorLog().log(zel::LogTrace, __LINE__,
                    zel::String("CPUID - Cache topology supported: ") + (topologyExtensions ? "yes" : "no"));
    leaf = 0x8000001D;
    return topologyExtensions;
}

// EAX bits 4 to 0: 0 ends the list, the kinds above 3 are not defined.
x86_CacheType cacheType(std::uint32_t field) {
    switch (field) {
    case 1:
        return x86_cache_type_data;
    case 2:
        return x86_cache_type_instruction;
    case 3:
        return x86_cache_type_unified;
    default:
        return x86_cache_type_unknown;
    }
}

x86_cache decodeCache(x86_CacheType type, const cpuid_args& registers) {
    const std::uint32_t lineSize = (registers.ebx & 0xFFF) + 1;
    const std::uint32_t partitions = (registers.ebx >> 12 & 0x3FF) + 1;
    const std::uint32_t ways = (registers.ebx >> 22) + 1;
    const std::uint64_t sets = std::uint64_t{registers.ecx} + 1;
    const std::uint32_t setSize = partitions * lineSize * ways; // 32 bits are meant
    const std::uint64_t size = setSize * sets;
    // A single way is meant to be unknown here, though leaf 0x80000006 has a code for direct mapped: a ways field of 0
    // is also what one that nobody filled in looks like.
    const bool fullyAssociative = (registers.eax >> 9 & 1) != 0;
    const auto associativity = fullyAssociative ? x86_cache_assoc_full : x86_cache::getSetAssocConstant(ways);

    x86_cache cache(x86_cache::getCacheLevelConstant(registers.eax >> 5 & 7), type, associativity, size,
                    CacheSizeInBytes, lineSize);
    cache.setThreadsSharing((registers.eax >> 14 & 0xFFF) + 1);
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

bool x86_vendor_info::getCacheTopologyInfo(const x86_cpu& cpu, zel::Array<x86_cache>& caches) {
    const x86_pin pin(cpu);
    std::uint32_t leaf = 0;
    if (!cacheTopologyLeaf(cpu, leaf)) {
        return false;
    }
    caches.clear();
    std::uint32_t apicId = 0;
    const bool hasTopologyIds = cpu.isIntel() && cpu.getApicId(apicId);
    for (std::uint32_t subleaf = 0; subleaf < maxSubleaves; ++subleaf) {
        cpuid_args registers{leaf, 0, subleaf, 0};
        if (!cpu.callCPUID(registers, registers)) {
            return false;
        }
        const std::uint32_t typeField = registers.eax & 0x1F;
        if (typeField == 0) {
            break;
        }
        const x86_CacheType type = cacheType(typeField);
        if (type == x86_cache_type_unknown) {
            continue;
        }
        x86_cache cache = decodeCache(type, registers);
        if (hasTopologyIds) {
            cache.setTopologyIds(apicId, instanceMask(cache.getThreadsSharing()));
        }
        caches.append(cache);
    }
    return !caches.isEmpty();
}

} // namespace libQuarrow::cpu
