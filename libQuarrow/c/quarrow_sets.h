#ifndef QUARROW_SETS_H
#define QUARROW_SETS_H

/* Part of quarrow.h: sets of processors, and pinning to them. */

#include <libQuarrow/c/quarrow_base.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The highest number that a logical processor may have. */
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
