#ifndef QUARROW_H
#define QUARROW_H

/* Everything that Quarrow knows of a machine's processors, for C and for every language that can call it.
 *
 * A machine is taken once, from the live one or from a recording, and answers from memory from then on:
 *
 *     quarrow_machine* machine = quarrow_machine_native(0);
 *     if (machine == NULL) {
 *         fprintf(stderr, "%s\n", quarrow_error_text());
 *         return 1;
 *     }
 *     printf("%u cores\n", (unsigned)quarrow_machine_count(machine, QUARROW_CORES));
 *     quarrow_machine_free(machine);
 *
 * Ownership. What a function makes (a machine, a set, a pin, a text that is no const) belongs to the caller, who gives
 * it to the function ending in _free of its kind. Texts that are const belong to the machine that they were asked of,
 * or, where no machine was, to the library. A set does not need the machine that it came from.
 *
 * Failure. A function that makes something answers NULL, one that counts or asks answers 0, and one that fills
 * something answers a code other than QUARROW_OK and leaves it as it was. Each also keeps, for the calling thread, what
 * was wrong: quarrow_error_code() and quarrow_error_text(). A null pointer, an index out of range or an unknown
 * constant is QUARROW_ERROR_ARGUMENT and never a crash. Nothing else is ever thrown or signalled.
 *
 * Threads. Any number of threads may use the library at once, and ask one machine or read one set at once. A set that
 * is being changed and whatever is being freed belongs to one thread. Functions whose comment says that they move the
 * thread put it back before they return.
 *
 * Texts are UTF-8, sizes are bytes. A number that the machine does not tell is QUARROW_NONE (of 64 bits:
 * QUARROW_NONE64), such a text NULL, unless something else is said.
 *
 * Structures grow at their end only, so each call tells the size that the caller knows:
 *
 *     quarrow_processor processor;
 *     quarrow_machine_processor(machine, 0, &processor, sizeof processor);
 *
 * Of a larger structure than the library knows the rest is filled with zeros; quarrow_abi_version() tells what it
 * knows.
 */

#include <stddef.h> /* NOLINT(modernize-deprecated-headers): this is C */
#include <stdint.h> /* NOLINT(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------ version, errors --
 */

/* The version of this interface. It goes up by one when something is added; nothing is ever removed or changed. */
#define QUARROW_ABI_VERSION 1

#define QUARROW_NONE 0xFFFFFFFFu
#define QUARROW_NONE64 (~(uint64_t)0)

/* That of the library in use: a program may need no more than this. */
uint32_t quarrow_abi_version(void);
/* "2.0.0". */
const char* quarrow_version(void);

enum quarrow_error {
    QUARROW_OK = 0,
    QUARROW_ERROR_ARGUMENT = 1, /* the program's mistake: a null pointer, an index or constant that is none */
    QUARROW_ERROR_INPUT = 2,    /* a file or text that cannot be read, written or understood */
    QUARROW_ERROR_MACHINE = 3,  /* the machine, the operating system or its rules do not allow it */
    QUARROW_ERROR_UNKNOWN = 4,  /* the machine does not tell */
    QUARROW_ERROR_MEMORY = 5,   /* there is not enough memory */
    QUARROW_ERROR_INTERNAL = 6  /* should not happen; please report the text */
};

/* What was wrong with the last call of this thread that failed, a constant of enum quarrow_error; QUARROW_OK before the
 * first. A call that succeeds leaves it as it is. */
int quarrow_error_code(void);
/* The same in words: one line, what was wrong and what to do, at most 511 bytes. Empty before the first failure. It
 * stands until the thread's next failure. */
const char* quarrow_error_text(void);
/* Forgets the thread's failure, where a program wants to tell an answer of 0 from one. */
void quarrow_error_clear(void);

/* Frees a text that the caller owns. NULL is nothing to free. */
void quarrow_text_free(char* text);

/* ------------------------------------------------------------------------------------------------------- machines --
 */

typedef struct quarrow_machine quarrow_machine;

/* How a machine is taken: a sum of these, or 0. */
enum quarrow_take {
    QUARROW_MOVE_PROCESS = 1,  /* visit the processors by moving the whole process instead of the calling thread */
    QUARROW_WITH_SPEEDS = 2,   /* with what quarrow_processor_speed() tells: 25 milliseconds more for each processor */
    QUARROW_WITH_LIMITS = 4,   /* with what quarrow_processor_limits() tells */
    QUARROW_WITH_MICROCODE = 8 /* with the revision of the microcode: some 2 microseconds more for each processor */
};

/* The machine that the program runs on. Moves the thread (or process) to each logical processor in turn and back, once,
 * which takes some ten microseconds for each. */
quarrow_machine* quarrow_machine_native(uint32_t take);
/* A machine from a file: a recording or a public CPUID dump in any of the formats of docs/recordings.md. "-" is
 * standard input. Moves nothing. */
quarrow_machine* quarrow_machine_load(const char* path, uint32_t take);
/* The same from `size` bytes of memory, which are copied. `name` is what messages and the JSON document call them; NULL
 * for "memory". */
quarrow_machine* quarrow_machine_parse(const void* bytes, size_t size, const char* name, uint32_t take);
/* No thread may use it any more. NULL is nothing to free. */
void quarrow_machine_free(quarrow_machine* machine);

/* 1 for a machine from a recording, 0 for the live one. */
int quarrow_machine_is_recorded(const quarrow_machine* machine);
/* The JSON document 2 of docs/json.md, as `quarrow --json` prints it. */
char* quarrow_machine_json(const quarrow_machine* machine);
/* The machine as a recording. A recorded one gives the recording that it was read from, in the format of
 * docs/recordings.md. The live one is visited anew for it, with every leaf, and the rate of its time-stamp counter is
 * measured: that moves the thread, takes some milliseconds, and other calls of the library wait meanwhile. */
char* quarrow_machine_record(const quarrow_machine* machine);
/* The same into a file, which is replaced whole or not at all. */
int quarrow_machine_record_to(const quarrow_machine* machine, const char* path);

/* ---------------------------------------------------------------------------------------------- what a machine has --
 */

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
    uint32_t max_extended_leaf;     /* 0: none */
    uint32_t core_type;             /* leaf 0x1A EAX on a hybrid of Intel's, or QUARROW_NONE */
    uint32_t physical_address_bits; /* or QUARROW_NONE */
    uint32_t linear_address_bits;   /* or QUARROW_NONE */
    uint32_t level;                 /* x86-64 level of what programs can use, 1 to 4; 0 below the first */
    uint32_t hypervisor_interface;  /* leaf 0x40000001 EAX, or QUARROW_NONE */
    uint32_t cache_count;           /* how many quarrow_processor_cache() has */
    uint32_t microcode;             /* its revision; QUARROW_NONE where untold or without QUARROW_WITH_MICROCODE */
    uint32_t avx10_version;         /* 0 without AVX10 */
    uint32_t avx10_vector_bits;     /* the sum of 128, 256 and 512 as far as AVX10 has vectors of them */
    uint32_t reserved;
    const char* name;              /* what to call it: the brand, else maker and signature; fit to be printed */
    const char* vendor;            /* leaf 0: "GenuineIntel" */
    const char* brand;             /* leaves 0x80000002 to 4 as they stand; may be empty */
    const char* microarchitecture; /* of this kind of core: "Golden Cove"; NULL where no public source tells */
    const char* codename;          /* of the product: "Alder Lake"; likewise */
    const char* process;           /* "Intel 7"; likewise */
    const char* hypervisor;        /* that it says it runs under, "KVMKVMKVM"; may be empty; NULL without one */
    const char* hypervisor_name;   /* "KVM"; NULL for an unknown one */
} quarrow_processor;

/* The processor at that index, below quarrow_machine_count(machine, QUARROW_PROCESSORS). Its texts last as long as the
 * machine. `size` is sizeof *processor. */
int quarrow_machine_processor(const quarrow_machine* machine, size_t index, quarrow_processor* processor, size_t size);
/* The index of the processor with that number; QUARROW_NONE where there is none (no failure). */
uint32_t quarrow_machine_find(const quarrow_machine* machine, uint32_t number);

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

/* How fast a logical processor runs. What is not known is 0, which no speed is. Multipliers are of the bus clock. */
typedef struct quarrow_speed {
    uint64_t tsc_hertz; /* rate of the time-stamp counter, measured */
    uint64_t bus_clock_hertz;
    uint64_t current_hertz;   /* what it is set to */
    uint64_t effective_hertz; /* what it ran at while it was measured */
    uint64_t lowest_hertz;
    uint64_t base_hertz;          /* the highest without turbo */
    uint64_t turbo_hertz;         /* the highest with turbo, of one active core */
    uint64_t system_lowest_hertz; /* these three: between which the operating system runs it, as it tells itself */
    uint64_t system_base_hertz;
    uint64_t system_highest_hertz;
    double current_multiplier;
    double effective_multiplier;
    double lowest_multiplier;
    double base_multiplier;
    double turbo_multiplier;
    uint32_t performance_state_count; /* how many quarrow_processor_performance_state() has */
    uint32_t reserved;
} quarrow_speed;

/* Of the processor with that number. `size` is sizeof *speed. QUARROW_ERROR_UNKNOWN where the machine was taken without
 * QUARROW_WITH_SPEEDS. */
int quarrow_processor_speed(const quarrow_machine* machine, uint32_t number, quarrow_speed* speed, size_t size);
/* Performance state number `which` of an AMD processor: the number of its register, and its speed. Either pointer may
 * be null. */
int quarrow_processor_performance_state(const quarrow_machine* machine, uint32_t number, size_t which, uint32_t* state,
                                        uint64_t* hertz);

/* How far a logical processor may go. */
typedef struct quarrow_limits {
    uint32_t throttle_celsius;        /* at which it slows itself down, or QUARROW_NONE */
    uint32_t throttle_offset_celsius; /* by how many degrees it does so earlier, as it is set, or QUARROW_NONE */
    uint32_t highest_level;           /* these four: of a scale of its own, 0 to 255, of which more is faster; */
    uint32_t guaranteed_level;        /* or QUARROW_NONE */
    uint32_t efficient_level;
    uint32_t lowest_level;
    uint32_t turbo_ratio_count; /* how many quarrow_processor_turbo_ratio() has */
} quarrow_limits;

/* Of the processor with that number. `size` is sizeof *limits. QUARROW_ERROR_UNKNOWN where the machine was taken
 * without QUARROW_WITH_LIMITS. */
int quarrow_processor_limits(const quarrow_machine* machine, uint32_t number, quarrow_limits* limits, size_t size);
/* The highest multiplier while so many cores or fewer are active; ascending. Either pointer may be null. */
int quarrow_processor_turbo_ratio(const quarrow_machine* machine, uint32_t number, size_t which, uint32_t* active_cores,
                                  uint32_t* ratio);
/* Why a model-specific register that speeds or limits needed could not be asked for, and what to do, in a line; NULL
 * where none was needed, and where they are within reach. */
const char* quarrow_machine_msr_refusal(const quarrow_machine* machine);

/* The English words: "performance", "data", "load"; NULL on failure. */
const char* quarrow_kind_name(uint32_t kind);
const char* quarrow_cache_type_name(uint32_t type);
const char* quarrow_tlb_type_name(uint32_t type);

/* ------------------------------------------------------------------------------------------------------- features --
 */

/* The features that programs choose their code by. quarrow_feature_name() tells the name of each; the many others are
 * asked for by name. */
enum quarrow_feature {
    QUARROW_FEATURE_CMOV = 0,
    QUARROW_FEATURE_CX8 = 1,
    QUARROW_FEATURE_CX16 = 2,
    QUARROW_FEATURE_MMX = 3,
    QUARROW_FEATURE_SSE = 4,
    QUARROW_FEATURE_SSE2 = 5,
    QUARROW_FEATURE_SSE3 = 6,
    QUARROW_FEATURE_SSSE3 = 7,
    QUARROW_FEATURE_SSE4_1 = 8,
    QUARROW_FEATURE_SSE4_2 = 9,
    QUARROW_FEATURE_SSE4A = 10,
    QUARROW_FEATURE_POPCNT = 11,
    QUARROW_FEATURE_LZCNT = 12,
    QUARROW_FEATURE_BMI1 = 13,
    QUARROW_FEATURE_BMI2 = 14,
    QUARROW_FEATURE_ADX = 15,
    QUARROW_FEATURE_MOVBE = 16,
    QUARROW_FEATURE_TBM = 17,
    QUARROW_FEATURE_AES = 18,
    QUARROW_FEATURE_VAES = 19,
    QUARROW_FEATURE_PCLMUL = 20,
    QUARROW_FEATURE_VPCLMULQDQ = 21,
    QUARROW_FEATURE_GFNI = 22,
    QUARROW_FEATURE_SHA = 23,
    QUARROW_FEATURE_SHA512 = 24,
    QUARROW_FEATURE_SM3 = 25,
    QUARROW_FEATURE_SM4 = 26,
    QUARROW_FEATURE_RDRAND = 27,
    QUARROW_FEATURE_RDSEED = 28,
    QUARROW_FEATURE_AVX = 29,
    QUARROW_FEATURE_AVX2 = 30,
    QUARROW_FEATURE_F16C = 31,
    QUARROW_FEATURE_FMA = 32,
    QUARROW_FEATURE_FMA4 = 33,
    QUARROW_FEATURE_XOP = 34,
    QUARROW_FEATURE_AVX_VNNI = 35,
    QUARROW_FEATURE_AVX_VNNI_INT8 = 36,
    QUARROW_FEATURE_AVX_VNNI_INT16 = 37,
    QUARROW_FEATURE_AVX_IFMA = 38,
    QUARROW_FEATURE_AVX_NE_CONVERT = 39,
    QUARROW_FEATURE_AVX512F = 40,
    QUARROW_FEATURE_AVX512CD = 41,
    QUARROW_FEATURE_AVX512BW = 42,
    QUARROW_FEATURE_AVX512DQ = 43,
    QUARROW_FEATURE_AVX512VL = 44,
    QUARROW_FEATURE_AVX512_IFMA = 45,
    QUARROW_FEATURE_AVX512_VBMI = 46,
    QUARROW_FEATURE_AVX512_VBMI2 = 47,
    QUARROW_FEATURE_AVX512_VNNI = 48,
    QUARROW_FEATURE_AVX512_BITALG = 49,
    QUARROW_FEATURE_AVX512_VPOPCNTDQ = 50,
    QUARROW_FEATURE_AVX512_VP2INTERSECT = 51,
    QUARROW_FEATURE_AVX512_BF16 = 52,
    QUARROW_FEATURE_AVX512_FP16 = 53,
    QUARROW_FEATURE_AVX10 = 54,
    QUARROW_FEATURE_AMX_TILE = 55,
    QUARROW_FEATURE_AMX_INT8 = 56,
    QUARROW_FEATURE_AMX_BF16 = 57,
    QUARROW_FEATURE_AMX_FP16 = 58,
    QUARROW_FEATURE_AMX_COMPLEX = 59,
    QUARROW_FEATURE_APX = 60,
    QUARROW_FEATURE_RTM = 61,
    QUARROW_FEATURE_CLFLUSHOPT = 62,
    QUARROW_FEATURE_CLWB = 63,
    QUARROW_FEATURE_MOVDIRI = 64,
    QUARROW_FEATURE_MOVDIR64B = 65,
    QUARROW_FEATURE_WAITPKG = 66,
    QUARROW_FEATURE_SERIALIZE = 67,
    QUARROW_FEATURE_CMPCCXADD = 68,
    QUARROW_FEATURE_RDTSCP = 69,
    QUARROW_FEATURE_RDPID = 70,
    QUARROW_FEATURE_PREFETCHW = 71
};

/* 1 where the processor with that number has the feature, and where programs can use it: the operating system keeps the
 * registers that it needs. Ask the second before choosing code. (On Linux a program also asks for AMX first.) */
int quarrow_processor_has(const quarrow_machine* machine, uint32_t number, uint32_t feature);
int quarrow_processor_can_use(const quarrow_machine* machine, uint32_t number, uint32_t feature);
/* The same by a name as /proc/cpuinfo has it: "avx2". A name that the library does not know is a failure. */
int quarrow_processor_has_named(const quarrow_machine* machine, uint32_t number, const char* name);
int quarrow_processor_can_use_named(const quarrow_machine* machine, uint32_t number, const char* name);
/* The names of all that it has or, `usable` not 0, that programs can use, blanks between them. The caller owns it. */
char* quarrow_processor_features(const quarrow_machine* machine, uint32_t number, int usable);

/* The name of a constant of enum quarrow_feature: "avx2"; NULL on failure. */
const char* quarrow_feature_name(uint32_t feature);
/* Every feature that the library knows, some 450, in the order of CPUID's leaves and bits: how many there are, and the
 * name of the one at an index, which may be another in the next version; NULL on failure. */
size_t quarrow_feature_count(void);
const char* quarrow_feature_at(size_t index);
/* What the feature of that name is, in a phrase; NULL for a name that the library does not know. */
const char* quarrow_feature_meaning(const char* name);

/* ------------------------------------------------------------------------------------------------ sets, and pinning --
 */

/* A set of logical processors by their numbers, 0 to QUARROW_HIGHEST_NUMBER. */
typedef struct quarrow_set quarrow_set;

#define QUARROW_HIGHEST_NUMBER 0x3FFFFFu

/* An empty set. */
quarrow_set* quarrow_set_new(void);
quarrow_set* quarrow_set_copy(const quarrow_set* set);
/* From a list as taskset takes it: "0,4-7", "0-31:2". */
quarrow_set* quarrow_set_from_list(const char* list);
/* From processor groups and masks: "0:F0h/1:3h". The machine tells which numbers the groups have. */
quarrow_set* quarrow_set_from_affinity(const quarrow_machine* machine, const char* affinity);
/* NULL is nothing to free. */
void quarrow_set_free(quarrow_set* set);

/* Adds the numbers from `first` to `last`, both included. */
int quarrow_set_add(quarrow_set* set, uint32_t first, uint32_t last);
/* New sets: in either, in both, in the first alone. */
quarrow_set* quarrow_set_union(const quarrow_set* a, const quarrow_set* b);
quarrow_set* quarrow_set_intersection(const quarrow_set* a, const quarrow_set* b);
quarrow_set* quarrow_set_difference(const quarrow_set* a, const quarrow_set* b);

size_t quarrow_set_count(const quarrow_set* set);
int quarrow_set_contains(const quarrow_set* set, uint32_t number);
/* 1 where every processor of `other` is in the set. */
int quarrow_set_includes(const quarrow_set* set, const quarrow_set* other);
int quarrow_set_equal(const quarrow_set* a, const quarrow_set* b);
/* The lowest number in the set that is not below `from`; QUARROW_NONE where there is none. So one walks a set:
 *     for (n = quarrow_set_next(set, 0); n != QUARROW_NONE; n = quarrow_set_next(set, n + 1)) */
uint32_t quarrow_set_next(const quarrow_set* set, uint32_t from);
/* "0,4-7"; empty for an empty set. */
char* quarrow_set_list(const quarrow_set* set);
/* "0:00000000000000F0h/1:0000000000000003h". Fails for a number that has no place on the machine. */
char* quarrow_set_affinity(const quarrow_machine* machine, const quarrow_set* set);

/* Sets of a machine's processors, for the caller to free. What there is not gives an empty set. */

/* All that were visited. */
quarrow_set* quarrow_set_of_machine(const quarrow_machine* machine);
/* Those in the object at that index: of a package to a core and a NUMA node its processors, of a cache or TLB those
 * that have one, of a kind those of that kind. */
quarrow_set* quarrow_set_of_object(const quarrow_machine* machine, uint32_t object, size_t index);
/* Those that share instance number `instance` of the cache at that index, below its `instances`. */
quarrow_set* quarrow_set_of_cache(const quarrow_machine* machine, size_t cache, size_t instance);
quarrow_set* quarrow_set_of_kind(const quarrow_machine* machine, uint32_t kind);
/* By the operating system's number of the node. */
quarrow_set* quarrow_set_of_numa_node(const quarrow_machine* machine, uint32_t number);
/* Those that share a cache of that level with the processor, itself included: its data or unified cache, else what else
 * there is. QUARROW_ERROR_UNKNOWN where it has no such cache or does not tell who shares it. */
quarrow_set* quarrow_set_sharing_cache(const quarrow_machine* machine, uint32_t number, uint32_t level);
/* Of `set`, or with NULL of all, the lowest processor of each core. */
quarrow_set* quarrow_set_one_per_core(const quarrow_machine* machine, const quarrow_set* set);

/* The processors of the live machine that the calling thread may run on. */
quarrow_set* quarrow_set_of_thread(void);

typedef struct quarrow_pin quarrow_pin;

/* Lets the calling thread run on these processors of the live machine alone, until quarrow_pin_restore(). Nothing is
 * changed where one of them is none of the machine's, or the affinity in force cannot be read to be put back. */
quarrow_pin* quarrow_pin_thread(const quarrow_set* set);
/* Puts back what quarrow_pin_thread() found, and frees the pin. To be called by the thread that was pinned, the last
 * pin first; another thread gets QUARROW_ERROR_ARGUMENT, and where it cannot be put back the answer is
 * QUARROW_ERROR_MACHINE: in both cases the pin stays, to be tried again. */
int quarrow_pin_restore(quarrow_pin* pin);
/* Frees a pin and leaves the thread where it is. Any thread may. NULL is nothing to free. */
void quarrow_pin_free(quarrow_pin* pin);

#ifdef __cplusplus
}
#endif

#endif
