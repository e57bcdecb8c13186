#ifndef QUARROW_OBJECTS_H
#define QUARROW_OBJECTS_H

/* Part of quarrow.h: what a machine has, and the facts of each thing. */

#include <libQuarrow/c/quarrow_base.h>

#ifdef __cplusplus
extern "C" {
#endif

enum quarrow_kind { QUARROW_KIND_PERFORMANCE = 0, QUARROW_KIND_EFFICIENT = 1, QUARROW_KIND_LOW_POWER = 2 };

/* What there are several of. All are counted, and numbered from 0 by the order of their lowest processor, unless said
 * otherwise. */
enum quarrow_object {
    QUARROW_PACKAGES = 0,
    QUARROW_DIES = 1,      /* none where the machine does not tell */
    QUARROW_COMPLEXES = 2, /* cores that share an L3; none where a package has but one */
    QUARROW_MODULES = 3,   /* cores that share an L2, AMD's compute units; likewise */
    QUARROW_CORES = 4,
    QUARROW_PROCESSORS = 5, /* logical processors, ascending numbers */
    QUARROW_CACHES = 6,     /* those with the same figures are one; by level, then type */
    QUARROW_TLBS = 7,       /* likewise */
    QUARROW_NUMA_NODES = 8, /* ascending numbers; none where the operating system does not tell */
    QUARROW_KINDS = 9,      /* kinds of core; none on a machine with one kind */
    QUARROW_LEFT_OUT = 10   /* processors of the system that could not be visited */
};

/* How many there are. `object` is one of enum quarrow_object. */
size_t quarrow_machine_count(const quarrow_machine* machine, uint32_t object);
/* The number that processors bear for the object at that index: of a NUMA node the operating system's own, of a kind
 * its constant, of a processor its logical number, of all others the index itself. QUARROW_NONE on failure. */
uint32_t quarrow_machine_object_number(const quarrow_machine* machine, uint32_t object, size_t index);
/* The x86-64 level, 1 to 4, whose features programs can use on every processor; 0 below the first. */
uint32_t quarrow_machine_level(const quarrow_machine* machine);

/* One logical processor. */
typedef struct quarrow_processor {
    uint32_t number;  /* the operating system's own */
    uint32_t group;   /* processor group, */
    uint32_t bit;     /* and the place in it, 0 to 63 */
    uint32_t apic_id; /* or QUARROW_NONE */
    uint32_t package; /* this and the next four number objects over the whole machine */
    uint32_t die;     /* or QUARROW_NONE */
    uint32_t complex; /* or QUARROW_NONE */
    uint32_t module;  /* or QUARROW_NONE */
    uint32_t core;
    uint32_t thread;    /* from 0 within the core */
    uint32_t numa_node; /* the operating system's own number, or QUARROW_NONE */
    uint32_t kind;      /* enum quarrow_kind; QUARROW_NONE on a machine with one kind */
    uint32_t family;    /* as people say it: with the extended family */
    uint32_t model;     /* with the extended model */
    uint32_t stepping;
    uint32_t signature;    /* CPUID leaf 1 EAX; 0 without that leaf */
    uint32_t brand_index;  /* leaf 1 EBX bits 0 to 7 */
    uint32_t package_type; /* leaf 0x80000001 EBX bits 28 to 31, AMD and Hygon */
    uint32_t max_leaf;
    uint32_t max_extended_leaf;        /* 0: none */
    uint32_t core_type;                /* leaf 0x1A EAX on a hybrid of Intel's, or QUARROW_NONE */
    uint32_t physical_address_bits;    /* or QUARROW_NONE */
    uint32_t linear_address_bits;      /* or QUARROW_NONE */
    uint32_t level;                    /* x86-64 level of what programs can use, 1 to 4; 0 below the first */
    uint32_t hypervisor_interface;     /* leaf 0x40000001 EAX, or QUARROW_NONE */
    uint32_t cache_count;              /* how many quarrow_processor_cache() has */
    uint32_t microcode;                /* its revision; QUARROW_NONE where untold or without QUARROW_WITH_MICROCODE */
    uint32_t avx10_version;            /* 0 without AVX10 */
    uint32_t avx10_vector_bits;        /* the sum of 128, 256 and 512 as far as AVX10 has vectors of them */
    uint32_t further_hypervisor_count; /* how many quarrow_processor_further_hypervisor() has */
    const char* name;                  /* what to call it: the brand, else maker and signature; fit to be printed */
    const char* vendor;                /* leaf 0: "GenuineIntel" */
    const char* brand;                 /* leaves 0x80000002 to 4 as they stand; may be empty */
    const char* microarchitecture;     /* of this kind of core: "Golden Cove"; NULL where no public source tells */
    const char* codename;              /* of the product: "Alder Lake"; likewise */
    const char* process;               /* "Intel 7"; likewise */
    const char* hypervisor;            /* that it says it runs under, "KVMKVMKVM"; may be empty; NULL without one */
    const char* hypervisor_name;       /* "KVM"; NULL for an unknown one */
    /* Since version 2: */
    const char* revision;     /* of its stepping, as the maker calls it: "D0"; "C1/M1" where dies of one signature have
                               * steppings of their own; NULL where no public source tells */
    const char* package_name; /* that AMD's and Hygon's are in: "SP5"; likewise */
} quarrow_processor;

/* The processor at that index, below quarrow_machine_count(machine, QUARROW_PROCESSORS). Its texts last as long as the
 * machine. `size` is sizeof *processor. */
int quarrow_machine_processor(const quarrow_machine* machine, size_t index, quarrow_processor* processor, size_t size);
/* The index of the processor with that number; QUARROW_NONE where there is none (no failure). */
uint32_t quarrow_machine_find(const quarrow_machine* machine, uint32_t number);

/* What else a processor answers as where it runs under a hypervisor: one that imitates another's interface, as KVM does
 * Hyper-V's, has its own beside it. */
typedef struct quarrow_hypervisor {
    uint32_t interface_id; /* second leaf of its range, EAX, or QUARROW_NONE */
    uint32_t reserved;
    const char* signature; /* first leaf: "KVMKVMKVM"; may be empty */
    const char* name;      /* "KVM"; NULL for an unknown one */
} quarrow_hypervisor;

/* Number `which` of the processor with that number, below its further_hypervisor_count, in the order of their leaves
 * 0x40000100, 0x40000200 and so on. `size` is sizeof *hypervisor. */
int quarrow_processor_further_hypervisor(const quarrow_machine* machine, uint32_t number, size_t which,
                                         quarrow_hypervisor* hypervisor, size_t size);

enum quarrow_cache_type {
    QUARROW_CACHE_DATA = 0,
    QUARROW_CACHE_INSTRUCTION = 1,
    QUARROW_CACHE_UNIFIED = 2,
    QUARROW_CACHE_TRACE = 3
};

/* All caches of a machine with the same figures. */
typedef struct quarrow_cache {
    uint32_t level;     /* 1: nearest to the core */
    uint32_t type;      /* enum quarrow_cache_type */
    uint64_t size;      /* bytes of one; of a trace cache, micro-operations; never 0 */
    uint64_t sets;      /* or QUARROW_NONE64 */
    uint32_t ways;      /* 0: fully associative; or QUARROW_NONE */
    uint32_t line_size; /* bytes; 0: not told */
    uint32_t inclusive; /* of the levels below: 0, 1 or QUARROW_NONE */
    uint32_t instances; /* how many there are; QUARROW_NONE where the machine does not tell who shares them */
} quarrow_cache;

/* The cache at that index, below quarrow_machine_count(machine, QUARROW_CACHES). `size` is sizeof *cache. */
int quarrow_machine_cache(const quarrow_machine* machine, size_t index, quarrow_cache* cache, size_t size);
/* Cache number `which` of those that the processor with that number uses, below its cache_count, ascending: its index,
 * and its instance or QUARROW_NONE. Either pointer may be null. */
int quarrow_processor_cache(const quarrow_machine* machine, uint32_t number, size_t which, uint32_t* cache,
                            uint32_t* instance);

enum quarrow_tlb_type {
    QUARROW_TLB_DATA = 0,
    QUARROW_TLB_INSTRUCTION = 1,
    QUARROW_TLB_UNIFIED = 2,
    QUARROW_TLB_LOAD = 3,
    QUARROW_TLB_STORE = 4
};

/* A translation lookaside buffer. */
typedef struct quarrow_tlb {
    uint32_t level;      /* 1: asked first */
    uint32_t type;       /* enum quarrow_tlb_type */
    uint64_t page_sizes; /* bytes: the sum of the sizes, each a power of two, that its entries are for */
    uint32_t entries;    /* never 0 */
    uint32_t ways;       /* 0: fully associative; or QUARROW_NONE */
} quarrow_tlb;

/* The TLB at that index, below quarrow_machine_count(machine, QUARROW_TLBS). `size` is sizeof *tlb. */
int quarrow_machine_tlb(const quarrow_machine* machine, size_t index, quarrow_tlb* tlb, size_t size);

/* A processor of the system that could not be visited. */
typedef struct quarrow_left_out {
    uint32_t number;
    uint32_t group;
    uint32_t bit;
    uint32_t reserved;
    const char* reason; /* "no thread can be pinned to it" */
} quarrow_left_out;

/* The one at that index, below quarrow_machine_count(machine, QUARROW_LEFT_OUT). `size` is sizeof *processor. */
int quarrow_machine_left_out(const quarrow_machine* machine, size_t index, quarrow_left_out* processor, size_t size);

/* The English words: "performance", "data", "load"; NULL on failure. */
const char* quarrow_kind_name(uint32_t kind);
const char* quarrow_cache_type_name(uint32_t type);
const char* quarrow_tlb_type_name(uint32_t type);

#ifdef __cplusplus
}
#endif

#endif
