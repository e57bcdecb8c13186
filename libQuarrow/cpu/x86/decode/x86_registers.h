#pragma once

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/machine/bits.h>
#include <libQuarrow/machine/clock_leaves.h>
#include <libQuarrow/machine/cpuid_args.h>

#include <cstdint>

// Private to the library: CPUID's answers by the names of their fields. Each field is known here and nowhere else; the
// features, one bit each, have a table of their own (x86_feature_table.h), leaves 0x15 and 0x16 a header of theirs.
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
        : signature(r.eax), brandIndex(bits(r.ebx, 7, 0)), clflushBytes(bits(r.ebx, 15, 8) * 8),
          logicalProcessors(bits(r.ebx, 23, 16)), initialApicId(bits(r.ebx, 31, 24)), est(bit(r.ecx, 7)),
          osxsave(bit(r.ecx, 27)), avx(bit(r.ecx, 28)), hypervisor(bit(r.ecx, 31)), apic(bit(r.edx, 9)),
          htt(bit(r.edx, 28)) {}

    std::uint32_t signature;         // EAX
    std::uint32_t brandIndex;        // EBX bits 7 to 0
    std::uint32_t clflushBytes;      // EBX bits 15 to 8, times 8
    std::uint32_t logicalProcessors; // EBX bits 23 to 16: of a package; Intel: how many its IDs leave room for
    std::uint32_t initialApicId;     // EBX bits 31 to 24
    bool est;                        // ECX bit 7: Enhanced SpeedStep. Intel
    bool osxsave;                    // ECX bit 27
    bool avx;                        // ECX bit 28
    bool hypervisor;                 // ECX bit 31: set by hypervisors
    bool apic;                       // EDX bit 9
    bool htt;                        // EDX bit 28: the package has, or has room for, several logical processors
};

// The signature in leaf 1 EAX and leaf 0x80000001 EAX. Intel, AMD.
struct SignatureFields {
    explicit constexpr SignatureFields(std::uint32_t eax)
        : stepping(bits(eax, 3, 0)), model(bits(eax, 7, 4)), family(bits(eax, 11, 8)), extModel(bits(eax, 19, 16)),
          extFamily(bits(eax, 27, 20)) {}

    std::uint32_t stepping;  // bits 3 to 0
    std::uint32_t model;     // bits 7 to 4
    std::uint32_t family;    // bits 11 to 8
    std::uint32_t extModel;  // bits 19 to 16
    std::uint32_t extFamily; // bits 27 to 20
};

// Leaf 4 (Intel) and leaf 0x8000001D (AMD): one cache per sub-leaf, until one of type 0.
struct CacheLeaf {
    static constexpr std::uint32_t intelNumber = 4;
    static constexpr std::uint32_t amdNumber = 0x8000001D;
    enum Type : std::uint32_t { none = 0, data = 1, instruction = 2, unified = 3 };
    explicit constexpr CacheLeaf(const cpuid_args& r)
        : type(bits(r.eax, 4, 0)), level(bits(r.eax, 7, 5)), fullyAssociative(bit(r.eax, 9)),
          threadsSharing(bits(r.eax, 25, 14) + 1), packageCores(bits(r.eax, 31, 26) + 1),
          lineBytes(bits(r.ebx, 11, 0) + 1), partitions(bits(r.ebx, 21, 12) + 1), ways(bits(r.ebx, 31, 22) + 1),
          sets(std::uint64_t{r.ecx} + 1), inclusive(bit(r.edx, 1)) {}

    std::uint32_t type;           // EAX bits 4 to 0; above 3 undefined
    std::uint32_t level;          // EAX bits 7 to 5
    bool fullyAssociative;        // EAX bit 9
    std::uint32_t threadsSharing; // EAX bits 25 to 14, plus 1; Intel: how many IDs, AMD: how many processors
    std::uint32_t packageCores;   // EAX bits 31 to 26, plus 1: core IDs of the package. Leaf 4 only
    std::uint32_t lineBytes;      // EBX bits 11 to 0, plus 1
    std::uint32_t partitions;     // EBX bits 21 to 12, plus 1
    std::uint32_t ways;           // EBX bits 31 to 22, plus 1
    std::uint64_t sets;           // ECX plus 1
    bool inclusive;               // EDX bit 1: of the levels below
};

// Leaf 6: thermal and power management. Intel; APERF and MPERF: AMD too.
struct PowerLeaf {
    static constexpr std::uint32_t number = 6;
    explicit constexpr PowerLeaf(const cpuid_args& r) : turbo(bit(r.eax, 1)), aperfMperf(bit(r.ecx, 0)) {}

    bool turbo;      // EAX bit 1: turbo is there and switched on
    bool aperfMperf; // ECX bit 0: MSRs 0xE7 and 0xE8 are there
};

// Leaf 7, of which this is no table of features. Intel.
struct HybridLeaf {
    static constexpr std::uint32_t number = 7;
    explicit constexpr HybridLeaf(const cpuid_args& r) : hybrid(bit(r.edx, 15)) {}

    bool hybrid; // EDX bit 15: the package has cores of several types
};

// Leaf 0x1A: which core of a hybrid this is. Intel.
struct CoreTypeLeaf {
    static constexpr std::uint32_t number = 0x1A;
    enum Type : std::uint32_t { atom = 0x20, core = 0x40 };
    explicit constexpr CoreTypeLeaf(const cpuid_args& r) : eax(r.eax), type(bits(r.eax, 31, 24)) {}

    std::uint32_t eax;  // the whole of it: type and model
    std::uint32_t type; // EAX bits 31 to 24
};

// Leaf 0x24, sub-leaf 0: AVX10. Intel (AVX10.2 architecture, document 361050).
struct Avx10Leaf {
    static constexpr std::uint32_t number = 0x24;
    explicit constexpr Avx10Leaf(const cpuid_args& r)
        : version(bits(r.ebx, 7, 0)), has128(bit(r.ebx, 16)), has256(bit(r.ebx, 17)), has512(bit(r.ebx, 18)) {}

    std::uint32_t version; // EBX bits 7 to 0
    bool has128;           // EBX bits 16 to 18: vectors of that many bits
    bool has256;
    bool has512;
};

// Leaf 0x18: one translation lookaside buffer per sub-leaf, up to the one that sub-leaf 0 names. Intel.
struct TlbLeaf {
    static constexpr std::uint32_t number = 0x18;
    enum Type : std::uint32_t { none = 0, data = 1, instruction = 2, unified = 3, load = 4, store = 5 };
    explicit constexpr TlbLeaf(const cpuid_args& r)
        : lastSubleaf(r.eax), pages(bits(r.ebx, 3, 0)), ways(bits(r.ebx, 31, 16)), sets(r.ecx), type(bits(r.edx, 4, 0)),
          level(bits(r.edx, 7, 5)), fullyAssociative(bit(r.edx, 8)) {}

    std::uint32_t lastSubleaf; // EAX of sub-leaf 0
    std::uint32_t pages;       // EBX bits 3 to 0: 1 GB, 4 MB, 2 MB, 4 KB
    std::uint32_t ways;        // EBX bits 31 to 16
    std::uint32_t sets;        // ECX
    std::uint32_t type;        // EDX bits 4 to 0; above 5 undefined
    std::uint32_t level;       // EDX bits 7 to 5
    bool fullyAssociative;     // EDX bit 8
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
    explicit constexpr TopologyLevelLeaf(const cpuid_args& r)
        : shift(bits(r.eax, 4, 0)), logicalProcessors(bits(r.ebx, 15, 0)), level(bits(r.ecx, 7, 0)),
          type(bits(r.ecx, 15, 8)), x2apicId(r.edx), ebx(r.ebx), heterogeneous(bit(r.eax, 30)),
          coreType(bits(r.ebx, 31, 28)) {}

    std::uint32_t shift;             // EAX bits 4 to 0: takes the x2APIC ID to the next level's ID
    std::uint32_t logicalProcessors; // EBX bits 15 to 0: at this level, those switched on
    std::uint32_t level;             // ECX bits 7 to 0: the sub-leaf
    std::uint32_t type;              // ECX bits 15 to 8
    std::uint32_t x2apicId;          // EDX, the same in all sub-leaves
    std::uint32_t ebx;               // the whole of it, 0 after the last level
    bool heterogeneous;              // EAX bit 30: the cores are of several types. Leaf 0x80000026 only
    std::uint32_t coreType;          // EBX bits 31 to 28: an AmdCoreType. Leaf 0x80000026, core level only
};

// Leaf 0x80000001: extended features. AMD.
struct ExtendedFeaturesLeaf {
    static constexpr std::uint32_t number = 0x80000001;
    explicit constexpr ExtendedFeaturesLeaf(const cpuid_args& r)
        : packageType(bits(r.ebx, 31, 28)), cmpLegacy(bit(r.ecx, 1)), topologyExtensions(bit(r.ecx, 22)) {}

    std::uint32_t packageType; // EBX bits 31 to 28: socket; what a value means depends on the family
    bool cmpLegacy;            // ECX bit 1: the logical processors of a package are all cores
    bool topologyExtensions;   // ECX bit 22: leaves 0x8000001D and 0x8000001E are there
};

// Leaf 0x80000005: first-level caches. AMD.
struct L1CacheLeaf {
    static constexpr std::uint32_t number = 0x80000005;
    struct Cache {
        explicit constexpr Cache(std::uint32_t r)
            : kilobytes(bits(r, 31, 24)), associativity(bits(r, 23, 16)), lineBytes(bits(r, 7, 0)) {}

        std::uint32_t kilobytes;     // bits 31 to 24
        std::uint32_t associativity; // bits 23 to 16: ways; 0 reserved, 0xFF fully associative
        std::uint32_t lineBytes;     // bits 7 to 0
    };
    explicit constexpr L1CacheLeaf(const cpuid_args& r) : data(r.ecx), instruction(r.edx) {}

    Cache data;        // ECX
    Cache instruction; // EDX
};

// Leaf 0x80000005: first-level translation lookaside buffers. AMD.
struct L1TlbLeaf {
    static constexpr std::uint32_t number = 0x80000005;
    struct Pages {
        explicit constexpr Pages(std::uint32_t r)
            : dataEntries(bits(r, 23, 16)), dataAssociativity(bits(r, 31, 24)), instructionEntries(bits(r, 7, 0)),
              instructionAssociativity(bits(r, 15, 8)) {}

        std::uint32_t dataEntries;              // bits 23 to 16
        std::uint32_t dataAssociativity;        // bits 31 to 24: as in L1CacheLeaf
        std::uint32_t instructionEntries;       // bits 7 to 0
        std::uint32_t instructionAssociativity; // bits 15 to 8
    };
    explicit constexpr L1TlbLeaf(const cpuid_args& r) : large(r.eax), small(r.ebx) {}

    Pages large; // EAX: pages of 2 MB; one of 4 MB takes two entries
    Pages small; // EBX: pages of 4 KB
};

// A register of leaf 0x80000006 or 0x80000019 that tells translation lookaside buffers. AMD.
struct CodedTlbs {
    explicit constexpr CodedTlbs(std::uint32_t r)
        : dataEntries(bits(r, 27, 16)), dataAssociativity(bits(r, 31, 28)), instructionEntries(bits(r, 11, 0)),
          instructionAssociativity(bits(r, 15, 12)), unified(bits(r, 31, 16) == 0) {}

    std::uint32_t dataEntries;              // bits 27 to 16
    std::uint32_t dataAssociativity;        // bits 31 to 28: a code, not ways
    std::uint32_t instructionEntries;       // bits 11 to 0
    std::uint32_t instructionAssociativity; // bits 15 to 12: a code, not ways
    bool unified;                           // nothing in bits 31 to 16: the others are of both
};

// Leaf 0x80000006: second-level translation lookaside buffers. AMD.
struct L2TlbLeaf {
    static constexpr std::uint32_t number = 0x80000006;
    explicit constexpr L2TlbLeaf(const cpuid_args& r) : large(r.eax), small(r.ebx) {}

    CodedTlbs large; // EAX: pages of 2 MB; one of 4 MB takes two entries
    CodedTlbs small; // EBX: pages of 4 KB
};

// Leaf 0x80000019: translation lookaside buffers of pages of 1 GB. AMD.
struct GigabyteTlbLeaf {
    static constexpr std::uint32_t number = 0x80000019;
    explicit constexpr GigabyteTlbLeaf(const cpuid_args& r) : l1(r.eax), l2(r.ebx) {}

    CodedTlbs l1; // EAX
    CodedTlbs l2; // EBX
};

// Leaf 0x80000006: second- and third-level cache. AMD; Intel: the second-level cache only.
struct L2L3CacheLeaf {
    static constexpr std::uint32_t number = 0x80000006;
    explicit constexpr L2L3CacheLeaf(const cpuid_args& r)
        : l2Kilobytes(bits(r.ecx, 31, 16)), l2Associativity(bits(r.ecx, 15, 12)), l2LineBytes(bits(r.ecx, 7, 0)),
          l3HalfMegabytes(bits(r.edx, 31, 18)), l3Associativity(bits(r.edx, 15, 12)), l3LineBytes(bits(r.edx, 7, 0)) {}

    std::uint32_t l2Kilobytes;     // ECX bits 31 to 16
    std::uint32_t l2Associativity; // ECX bits 15 to 12: a code, not ways
    std::uint32_t l2LineBytes;     // ECX bits 7 to 0
    std::uint32_t l3HalfMegabytes; // EDX bits 31 to 18: units of 512 KB, shared by the package
    std::uint32_t l3Associativity; // EDX bits 15 to 12: a code, not ways
    std::uint32_t l3LineBytes;     // EDX bits 7 to 0
};

// Leaf 0x80000007: advanced power management. AMD.
struct AdvancedPowerLeaf {
    static constexpr std::uint32_t number = 0x80000007;
    explicit constexpr AdvancedPowerLeaf(const cpuid_args& r) : readOnlyAperfMperf(bit(r.edx, 10)) {}

    bool readOnlyAperfMperf; // EDX bit 10 (EffFreqRO): MSRs 0xC00000E7 and 0xC00000E8 are there
};

// Leaf 0x80000008: widths of addresses. Intel, AMD.
struct AddressSizesLeaf {
    static constexpr std::uint32_t number = 0x80000008;
    explicit constexpr AddressSizesLeaf(const cpuid_args& r)
        : told(r.eax != 0), physicalBits(bits(r.eax, 7, 0)), linearBits(bits(r.eax, 15, 8)) {}

    bool told;
    std::uint32_t physicalBits; // EAX bits 7 to 0
    std::uint32_t linearBits;   // EAX bits 15 to 8
};

// Leaf 0x80000008: how many processors a package has. AMD.
struct PackageSizeLeaf {
    static constexpr std::uint32_t number = 0x80000008;
    explicit constexpr PackageSizeLeaf(const cpuid_args& r)
        : threads(bits(r.ecx, 7, 0) + 1), apicIdBits(bits(r.ecx, 15, 12)), told(r.ecx != 0) {}

    std::uint32_t threads;    // ECX bits 7 to 0 (NC), plus 1: logical processors, called cores up to family 0x16
    std::uint32_t apicIdBits; // ECX bits 15 to 12 (ApicIdSize): of the ID within the package; 0: by `threads`
    bool told;                // ECX is not 0: one processor says so, others that they do not know the fields
};

// Leaf 0x8000001E: where a processor sits. AMD, where leaf 0x80000001 says topology extensions.
struct AmdTopologyLeaf {
    static constexpr std::uint32_t number = 0x8000001E;
    explicit constexpr AmdTopologyLeaf(const cpuid_args& r)
        : extendedApicId(r.eax), coreId(bits(r.ebx, 7, 0)), threadsPerCore(bits(r.ebx, 15, 8) + 1),
          nodeId(bits(r.ecx, 7, 0)), nodesPerProcessor(bits(r.ecx, 10, 8) + 1) {}

    std::uint32_t extendedApicId;    // EAX
    std::uint32_t coreId;            // EBX bits 7 to 0; family 0x15: the compute unit, a pair of cores
    std::uint32_t threadsPerCore;    // EBX bits 15 to 8, plus 1; family 0x15: cores per compute unit
    std::uint32_t nodeId;            // ECX bits 7 to 0
    std::uint32_t nodesPerProcessor; // ECX bits 10 to 8, plus 1: of the package
};

// The answer to `Leaf`.
template <class Leaf>
Leaf readLeaf(CpuidReader& cpuid, std::uint32_t subleaf = 0) {
    return Leaf(cpuid.read(Leaf::number, subleaf));
}

} // namespace libQuarrow::cpu
