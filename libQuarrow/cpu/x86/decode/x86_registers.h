#pragma once

#include <libQuarrow/cpu/x86/decode/CpuidPlace.h>
#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/machine/cpuid_args.h>

#include <cstdint>

// Private to the library: CPUID's answers as structs. Where a field stands is known in fields/ and nowhere else; what
// decoders make of it is said here. Features, one bit each, have a table of their own (x86_feature_table.h).
//
// A leaf is a struct made from one answer; fields that the manuals store less 1 are given as the count that they mean.
// Whether the processor has the leaf is the caller's to ask. Sources:
//   Intel  "Intel 64 and IA-32 Architectures Software Developer's Manual", volume 2A, CPUID
//   AMD    "AMD64 Architecture Programmer's Manual", volume 3, appendix E
//   PPR    AMD's processor programming references, of each family 0x17 and later
//   BKDG   AMD's BIOS and kernel developer's guides, of each family up to 0x16

namespace libQuarrow::cpu {

// Leaf 1: signature, and the counts of a package. Intel, AMD.
struct VersionLeaf {
    static constexpr std::uint32_t number = 1;
    explicit constexpr VersionLeaf(const cpuid_args& r)
        : signature(r.eax), brandIndex(valueAt<placeOf(number, "brand_index")>(r)),
          clflushBytes(valueAt<placeOf(number, "clflush_size")>(r) * 8),
          logicalProcessors(valueAt<placeOf(number, "max_package_ids")>(r)),
          initialApicId(valueAt<placeOf(number, "initial_apic_id")>(r)), est(valueAt<placeOf(number, "est")>(r)),
          osxsave(valueAt<placeOf(number, "osxsave")>(r)), avx(valueAt<placeOf(number, "avx")>(r)),
          hypervisor(valueAt<placeOf(number, "hypervisor")>(r)), apic(valueAt<placeOf(number, "apic")>(r)),
          htt(valueAt<placeOf(number, "ht")>(r)) {}

    std::uint32_t signature; // the whole of EAX
    std::uint32_t brandIndex;
    std::uint32_t clflushBytes;
    std::uint32_t logicalProcessors; // of a package; Intel: how many its IDs leave room for
    std::uint32_t initialApicId;
    bool est; // Enhanced SpeedStep. Intel
    bool osxsave;
    bool avx;
    bool hypervisor; // set by hypervisors
    bool apic;
    bool htt; // the package has, or has room for, several logical processors
};

// The signature in leaf 1 EAX. Intel, AMD.
struct SignatureFields {
    explicit constexpr SignatureFields(std::uint32_t eax) : SignatureFields(cpuid_args{eax, 0, 0, 0}) {}

    std::uint32_t stepping;
    std::uint32_t model;
    std::uint32_t family;
    std::uint32_t extModel;
    std::uint32_t extFamily;

  private:
    explicit constexpr SignatureFields(const cpuid_args& r)
        : stepping(valueAt<placeOf(1, "stepping")>(r)), model(valueAt<placeOf(1, "base_model")>(r)),
          family(valueAt<placeOf(1, "base_family")>(r)), extModel(valueAt<placeOf(1, "ext_model")>(r)),
          extFamily(valueAt<placeOf(1, "ext_family")>(r)) {}
};

// Leaf 4 (Intel) and leaf 0x8000001D (AMD): one cache per sub-leaf, until one of type 0.
struct CacheLeaf {
    static constexpr std::uint32_t intelNumber = 4;
    static constexpr std::uint32_t amdNumber = 0x8000001D;
    enum Type : std::uint32_t { none = 0, data = 1, instruction = 2, unified = 3 };
    // A field that both leaves have.
    static constexpr CpuidPlace place(const char* name) {
        return common(placeOf(intelNumber, name), placeOf(amdNumber, name));
    }
    explicit constexpr CacheLeaf(const cpuid_args& r)
        : type(valueAt<place("cache_type")>(r)), level(valueAt<place("cache_level")>(r)),
          fullyAssociative(valueAt<place("fully_associative")>(r)),
          threadsSharing(
              valueAt<common(placeOf(intelNumber, "max_sharing_ids"), placeOf(amdNumber, "sharing_processors"))>(r) +
              1),
          packageCores(valueAt<placeOf(intelNumber, "max_core_ids")>(r) + 1),
          lineBytes(valueAt<place("line_size")>(r) + 1), partitions(valueAt<place("partitions")>(r) + 1),
          ways(valueAt<place("ways")>(r) + 1), sets(std::uint64_t{valueAt<place("sets")>(r)} + 1),
          inclusive(valueAt<place("inclusive")>(r)) {}

    std::uint32_t type; // above 3 undefined
    std::uint32_t level;
    bool fullyAssociative;
    std::uint32_t threadsSharing; // Intel: how many IDs, AMD: how many processors
    std::uint32_t packageCores;   // core IDs of the package. Leaf 4 only
    std::uint32_t lineBytes;
    std::uint32_t partitions;
    std::uint32_t ways;
    std::uint64_t sets;
    bool inclusive; // of the levels below
};

// Leaf 6: thermal and power management. Intel; APERF and MPERF: AMD too.
struct PowerLeaf {
    static constexpr std::uint32_t number = 6;
    explicit constexpr PowerLeaf(const cpuid_args& r)
        : turbo(valueAt<placeOf(number, "ida")>(r)), aperfMperf(valueAt<placeOf(number, "aperfmperf")>(r)) {}

    bool turbo;      // turbo is there and switched on
    bool aperfMperf; // MSRs 0xE7 and 0xE8 are there
};

// Leaf 7, of which this is no table of features. Intel.
struct HybridLeaf {
    static constexpr std::uint32_t number = 7;
    explicit constexpr HybridLeaf(const cpuid_args& r) : hybrid(valueAt<placeOf(number, "hybrid_cpu")>(r)) {}

    bool hybrid; // the package has cores of several types
};

// Leaf 0x15: the time-stamp counter and the crystal that it counts. Intel.
struct CrystalLeaf {
    static constexpr std::uint32_t number = 0x15;
    explicit constexpr CrystalLeaf(const cpuid_args& r)
        : denominator(valueAt<placeOf(number, "tsc_denominator")>(r)),
          numerator(valueAt<placeOf(number, "tsc_numerator")>(r)),
          crystalHertz(valueAt<placeOf(number, "crystal_frequency")>(r)) {}

    // Ticks per second of the counter; 0 where the leaf does not tell all that is needed.
    constexpr std::uint64_t tscHertz() const {
        return denominator == 0 ? 0 : std::uint64_t{crystalHertz} * numerator / denominator;
    }

    std::uint32_t denominator;
    std::uint32_t numerator;
    std::uint32_t crystalHertz;
};

// Leaf 0x16: processor frequencies in MHz, as sold and not as measured; 0 where they are not told. Intel.
struct FrequencyLeaf {
    static constexpr std::uint32_t number = 0x16;
    explicit constexpr FrequencyLeaf(const cpuid_args& r)
        : baseMHz(valueAt<placeOf(number, "base_frequency")>(r)),
          maximumMHz(valueAt<placeOf(number, "max_frequency")>(r)),
          busMHz(valueAt<placeOf(number, "bus_frequency")>(r)) {}

    std::uint32_t baseMHz;
    std::uint32_t maximumMHz;
    std::uint32_t busMHz;
};

// Ticks per second of the time-stamp counter by these two leaves, the exact one first; 0 where neither tells.
constexpr std::uint64_t tscHertz(const CrystalLeaf& crystal, const FrequencyLeaf& frequencies) {
    return crystal.tscHertz() != 0 ? crystal.tscHertz() : std::uint64_t{frequencies.baseMHz} * 1'000'000;
}

// Leaf 0x18: one translation lookaside buffer per sub-leaf, up to the one that sub-leaf 0 names. Intel.
struct TlbLeaf {
    static constexpr std::uint32_t number = 0x18;
    enum Type : std::uint32_t { none = 0, data = 1, instruction = 2, unified = 3, load = 4, store = 5 };
    explicit constexpr TlbLeaf(const cpuid_args& r)
        : lastSubleaf(valueAt<placeOf(number, "max_subleaf")>(r)), has4K(valueAt<placeOf(number, "tlb_4k_pages")>(r)),
          has2M(valueAt<placeOf(number, "tlb_2m_pages")>(r)), has4M(valueAt<placeOf(number, "tlb_4m_pages")>(r)),
          has1G(valueAt<placeOf(number, "tlb_1g_pages")>(r)), ways(valueAt<placeOf(number, "tlb_ways")>(r)),
          sets(valueAt<placeOf(number, "tlb_sets")>(r)), type(valueAt<placeOf(number, "tlb_type")>(r)),
          level(valueAt<placeOf(number, "tlb_level")>(r)),
          fullyAssociative(valueAt<placeOf(number, "tlb_fully_associative")>(r)) {}

    std::uint32_t lastSubleaf; // in sub-leaf 0
    bool has4K;                // pages of that size
    bool has2M;
    bool has4M;
    bool has1G;
    std::uint32_t ways;
    std::uint32_t sets;
    std::uint32_t type; // above 5 undefined
    std::uint32_t level;
    bool fullyAssociative;
};

// Leaf 0x1A: which core of a hybrid this is. Intel.
struct CoreTypeLeaf {
    static constexpr std::uint32_t number = 0x1A;
    enum Type : std::uint32_t { atom = 0x20, core = 0x40 };
    explicit constexpr CoreTypeLeaf(const cpuid_args& r) : eax(r.eax), type(valueAt<placeOf(number, "core_type")>(r)) {}

    std::uint32_t eax; // the whole of it: type and model
    std::uint32_t type;
};

// Leaf 0x24, sub-leaf 0: AVX10. Intel (AVX10.2 architecture, document 361050).
struct Avx10Leaf {
    static constexpr std::uint32_t number = 0x24;
    explicit constexpr Avx10Leaf(const cpuid_args& r)
        : version(valueAt<placeOf(number, "avx10_version")>(r)), has128(valueAt<placeOf(number, "avx10_128")>(r)),
          has256(valueAt<placeOf(number, "avx10_256")>(r)), has512(valueAt<placeOf(number, "avx10_512")>(r)) {}

    std::uint32_t version;
    bool has128; // vectors of that many bits
    bool has256;
    bool has512;
};

// Leaves 0xB and 0x1F (Intel; 0xB: AMD too) and leaf 0x80000026 (AMD): one level of the topology per sub-leaf, inner
// ones first, until one with no processors or of type 0.
struct TopologyLevelLeaf {
    static constexpr std::uint32_t number = 0xB;
    static constexpr std::uint32_t v2Number = 0x1F;
    static constexpr std::uint32_t amdNumber = 0x80000026;
    // What the levels are: of leaves 0xB (1 and 2 only) and 0x1F, and of leaf 0x80000026.
    enum Type : std::uint32_t { invalid = 0, thread = 1, core = 2, module = 3, tile = 4, die = 5, dieGroup = 6 };
    enum AmdType : std::uint32_t { amdCore = 1, amdComplex = 2, amdDie = 3, amdSocket = 4 };
    enum AmdCoreType : std::uint32_t { amdPerformance = 0, amdEfficiency = 1 };
    // A field that all three leaves have.
    static constexpr CpuidPlace place(const char* name) {
        return common(common(placeOf(number, name), placeOf(v2Number, name)), placeOf(amdNumber, name));
    }
    explicit constexpr TopologyLevelLeaf(const cpuid_args& r)
        : shift(valueAt<place("x2apic_shift")>(r)), logicalProcessors(valueAt<place("logical_processors")>(r)),
          level(valueAt<place("level")>(r)), type(valueAt<place("level_type")>(r)),
          x2apicId(valueAt<place("x2apic_id")>(r)), ebx(r.ebx),
          heterogeneous(valueAt<placeOf(amdNumber, "heterogeneous")>(r)),
          coreType(valueAt<placeOf(amdNumber, "core_type")>(r)) {}

    std::uint32_t shift;             // takes the x2APIC ID to the next level's ID
    std::uint32_t logicalProcessors; // at this level, those switched on
    std::uint32_t level;             // the sub-leaf
    std::uint32_t type;
    std::uint32_t x2apicId; // the same in all sub-leaves
    std::uint32_t ebx;      // the whole of it, 0 after the last level
    bool heterogeneous;     // the cores are of several types. Leaf 0x80000026 only
    std::uint32_t coreType; // an AmdCoreType. Leaf 0x80000026, core level only
};

// Leaf 0x80000001: extended features. AMD.
struct ExtendedFeaturesLeaf {
    static constexpr std::uint32_t number = 0x80000001;
    explicit constexpr ExtendedFeaturesLeaf(const cpuid_args& r)
        : packageType(valueAt<placeOf(number, "package_type")>(r)),
          cmpLegacy(valueAt<placeOf(number, "cmp_legacy")>(r)),
          topologyExtensions(valueAt<placeOf(number, "topoext")>(r)) {}

    std::uint32_t packageType; // socket; what a value means depends on the family
    bool cmpLegacy;            // the logical processors of a package are all cores
    bool topologyExtensions;   // leaves 0x8000001D and 0x8000001E are there
};

// Leaf 0x80000005: first-level caches. AMD.
struct L1CacheLeaf {
    static constexpr std::uint32_t number = 0x80000005;
    struct Cache {
        std::uint32_t kilobytes;
        std::uint32_t associativity; // ways; 0 reserved, 0xFF fully associative
        std::uint32_t lineBytes;
    };
    explicit constexpr L1CacheLeaf(const cpuid_args& r)
        : data{valueAt<placeOf(number, "l1d_size")>(r), valueAt<placeOf(number, "l1d_ways")>(r),
               valueAt<placeOf(number, "l1d_line")>(r)},
          instruction{valueAt<placeOf(number, "l1i_size")>(r), valueAt<placeOf(number, "l1i_ways")>(r),
                      valueAt<placeOf(number, "l1i_line")>(r)} {}

    Cache data;
    Cache instruction;
};

// Translation lookaside buffers for pages of one size. AMD.
struct AmdTlbs {
    std::uint32_t dataEntries;
    std::uint32_t dataAssociativity;
    std::uint32_t instructionEntries;
    std::uint32_t instructionAssociativity;

    // Of leaves 0x80000006 and 0x80000019: nothing is told of the one for data, and the other is for both.
    constexpr bool unified() const { return dataEntries == 0 && dataAssociativity == 0; }
};

// Leaf 0x80000005: first-level translation lookaside buffers. Associativity is as in L1CacheLeaf. AMD.
struct L1TlbLeaf {
    static constexpr std::uint32_t number = 0x80000005;
    explicit constexpr L1TlbLeaf(const cpuid_args& r)
        : large{valueAt<placeOf(number, "l1_dtlb_large_entries")>(r), valueAt<placeOf(number, "l1_dtlb_large_ways")>(r),
                valueAt<placeOf(number, "l1_itlb_large_entries")>(r),
                valueAt<placeOf(number, "l1_itlb_large_ways")>(r)},
          small{valueAt<placeOf(number, "l1_dtlb_4k_entries")>(r), valueAt<placeOf(number, "l1_dtlb_4k_ways")>(r),
                valueAt<placeOf(number, "l1_itlb_4k_entries")>(r), valueAt<placeOf(number, "l1_itlb_4k_ways")>(r)} {}

    AmdTlbs large; // pages of 2 MB; one of 4 MB takes two entries
    AmdTlbs small; // pages of 4 KB
};

// Leaf 0x80000006: second-level translation lookaside buffers. Associativity is a code, not ways. AMD.
struct L2TlbLeaf {
    static constexpr std::uint32_t number = 0x80000006;
    explicit constexpr L2TlbLeaf(const cpuid_args& r)
        : large{valueAt<placeOf(number, "l2_dtlb_large_entries")>(r), valueAt<placeOf(number, "l2_dtlb_large_ways")>(r),
                valueAt<placeOf(number, "l2_itlb_large_entries")>(r),
                valueAt<placeOf(number, "l2_itlb_large_ways")>(r)},
          small{valueAt<placeOf(number, "l2_dtlb_4k_entries")>(r), valueAt<placeOf(number, "l2_dtlb_4k_ways")>(r),
                valueAt<placeOf(number, "l2_itlb_4k_entries")>(r), valueAt<placeOf(number, "l2_itlb_4k_ways")>(r)} {}

    AmdTlbs large; // pages of 2 MB; one of 4 MB takes two entries
    AmdTlbs small; // pages of 4 KB
};

// Leaf 0x80000019: translation lookaside buffers of pages of 1 GB. Associativity is a code, not ways. AMD.
struct GigabyteTlbLeaf {
    static constexpr std::uint32_t number = 0x80000019;
    explicit constexpr GigabyteTlbLeaf(const cpuid_args& r)
        : l1{valueAt<placeOf(number, "l1_dtlb_1g_entries")>(r), valueAt<placeOf(number, "l1_dtlb_1g_ways")>(r),
             valueAt<placeOf(number, "l1_itlb_1g_entries")>(r), valueAt<placeOf(number, "l1_itlb_1g_ways")>(r)},
          l2{valueAt<placeOf(number, "l2_dtlb_1g_entries")>(r), valueAt<placeOf(number, "l2_dtlb_1g_ways")>(r),
             valueAt<placeOf(number, "l2_itlb_1g_entries")>(r), valueAt<placeOf(number, "l2_itlb_1g_ways")>(r)} {}

    AmdTlbs l1;
    AmdTlbs l2;
};

// Leaf 0x80000006: second- and third-level cache. AMD; Intel: the second-level cache only.
struct L2L3CacheLeaf {
    static constexpr std::uint32_t number = 0x80000006;
    explicit constexpr L2L3CacheLeaf(const cpuid_args& r)
        : l2Kilobytes(valueAt<placeOf(number, "l2_size")>(r)), l2Associativity(valueAt<placeOf(number, "l2_ways")>(r)),
          l2LineBytes(valueAt<placeOf(number, "l2_line")>(r)), l3HalfMegabytes(valueAt<placeOf(number, "l3_size")>(r)),
          l3Associativity(valueAt<placeOf(number, "l3_ways")>(r)), l3LineBytes(valueAt<placeOf(number, "l3_line")>(r)) {
    }

    std::uint32_t l2Kilobytes;
    std::uint32_t l2Associativity; // a code, not ways
    std::uint32_t l2LineBytes;
    std::uint32_t l3HalfMegabytes; // units of 512 KB, shared by the package
    std::uint32_t l3Associativity; // a code, not ways
    std::uint32_t l3LineBytes;
};

// Leaf 0x80000007: advanced power management. AMD.
struct AdvancedPowerLeaf {
    static constexpr std::uint32_t number = 0x80000007;
    explicit constexpr AdvancedPowerLeaf(const cpuid_args& r)
        : readOnlyAperfMperf(valueAt<placeOf(number, "eff_freq_ro")>(r)) {}

    bool readOnlyAperfMperf; // MSRs 0xC00000E7 and 0xC00000E8 are there
};

// Leaf 0x80000008: widths of addresses. Intel, AMD.
struct AddressSizesLeaf {
    static constexpr std::uint32_t number = 0x80000008;
    explicit constexpr AddressSizesLeaf(const cpuid_args& r)
        : told(r.eax != 0), physicalBits(valueAt<placeOf(number, "physical_address_bits")>(r)),
          linearBits(valueAt<placeOf(number, "linear_address_bits")>(r)) {}

    bool told;
    std::uint32_t physicalBits;
    std::uint32_t linearBits;
};

// Leaf 0x80000008: how many processors a package has. AMD.
struct PackageSizeLeaf {
    static constexpr std::uint32_t number = 0x80000008;
    explicit constexpr PackageSizeLeaf(const cpuid_args& r)
        : threads(valueAt<placeOf(number, "package_threads")>(r) + 1),
          apicIdBits(valueAt<placeOf(number, "apic_id_size")>(r)), told(r.ecx != 0) {}

    std::uint32_t threads;    // logical processors, called cores up to family 0x16
    std::uint32_t apicIdBits; // of the ID within the package; 0: by `threads`
    bool told;                // ECX is not 0: one processor says so, others that they do not know the fields
};

// Leaf 0x8000001E: where a processor sits. AMD, where leaf 0x80000001 says topology extensions.
struct AmdTopologyLeaf {
    static constexpr std::uint32_t number = 0x8000001E;
    explicit constexpr AmdTopologyLeaf(const cpuid_args& r)
        : extendedApicId(valueAt<placeOf(number, "extended_apic_id")>(r)),
          coreId(valueAt<placeOf(number, "core_id")>(r)),
          threadsPerCore(valueAt<placeOf(number, "threads_per_core")>(r) + 1),
          nodeId(valueAt<placeOf(number, "node_id")>(r)),
          nodesPerProcessor(valueAt<placeOf(number, "nodes_per_package")>(r) + 1) {}

    std::uint32_t extendedApicId;
    std::uint32_t coreId;         // family 0x15: the compute unit, a pair of cores
    std::uint32_t threadsPerCore; // family 0x15: cores per compute unit
    std::uint32_t nodeId;
    std::uint32_t nodesPerProcessor; // of the package
};

// The answer to `Leaf`.
template <class Leaf>
Leaf readLeaf(CpuidReader& cpuid, std::uint32_t subleaf = 0) {
    return Leaf(cpuid.read(Leaf::number, subleaf));
}

} // namespace libQuarrow::cpu
