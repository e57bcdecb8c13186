#ifndef QUARROW_LEAVES_H
#define QUARROW_LEAVES_H

/* Part of quarrow.h: all that CPUID answers on a processor, and what each field of it means. */

#include <libQuarrow/c/quarrow_base.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The leaves of one processor. */
typedef struct quarrow_leaves quarrow_leaves;

/* Those of the processor with that number, for the caller to free. QUARROW_ERROR_UNKNOWN where the machine was taken
 * without QUARROW_WITH_LEAVES. */
quarrow_leaves* quarrow_leaves_of(const quarrow_machine* machine, uint32_t number);
/* The texts of the leaves go with them. NULL is nothing to free. */
void quarrow_leaves_free(quarrow_leaves* leaves);

/* How many answers there are. Those that are all zero, as of absent leaves, are not among them, but leaf 0. */
size_t quarrow_leaves_count(const quarrow_leaves* leaves);
/* The index of the answer to that leaf and sub-leaf, 0 where the leaf has none; QUARROW_NONE where there is no such
 * answer (no failure). */
uint32_t quarrow_leaves_find(const quarrow_leaves* leaves, uint32_t leaf, uint32_t subleaf);

/* What CPUID answered to one leaf and sub-leaf. */
typedef struct quarrow_leaf {
    uint32_t leaf;
    uint32_t subleaf; /* 0 where the leaf has none */
    uint32_t eax;
    uint32_t ebx;
    uint32_t ecx;
    uint32_t edx;
    uint32_t unknown_eax; /* these four: the set bits that no field has */
    uint32_t unknown_ebx;
    uint32_t unknown_ecx;
    uint32_t unknown_edx;
    uint32_t field_count; /* how many quarrow_leaves_field() has */
    uint32_t reserved;
    const char* title; /* "Caches"; NULL for a leaf that the library does not know */
} quarrow_leaf;

/* The answer at that index, below quarrow_leaves_count(), ascending leaves and sub-leaves. `size` is sizeof *leaf. */
int quarrow_leaves_answer(const quarrow_leaves* leaves, size_t index, quarrow_leaf* leaf, size_t size);

enum quarrow_register { QUARROW_EAX = 0, QUARROW_EBX = 1, QUARROW_ECX = 2, QUARROW_EDX = 3 };

enum quarrow_field_kind {
    QUARROW_FIELD_FLAG = 0,   /* a feature, by the name that quarrow_processor_has_named() takes */
    QUARROW_FIELD_BIT = 1,    /* yes or no, but no feature */
    QUARROW_FIELD_NUMBER = 2, /* a number, or one of several things */
    QUARROW_FIELD_TEXT = 3    /* four characters */
};

/* A field of an answer, with its value. */
typedef struct quarrow_leaf_field {
    uint32_t register_index; /* enum quarrow_register */
    uint32_t lowest_bit;
    uint32_t width; /* bits */
    uint32_t kind;  /* enum quarrow_field_kind */
    uint32_t raw;   /* the bits as they stand there */
    uint32_t reserved;
    uint64_t value;   /* the number that they mean, in `unit`: sets that are stored less 1 are not less 1 here. 0 for a
                       * power of two that has more than 64 bits */
    const char* name; /* unique within an answer; stays as it is from version to version */
    const char* meaning; /* one phrase */
    const char* unit;    /* "bytes", "KB" (1024 bytes), "MHz", "bits" and so on; NULL for none */
    const char* word;    /* what the number stands for ("data", "8 ways"), or the characters of a text; else NULL */
    const char* shown;   /* for people: "64 bytes", "data", "yes" */
} quarrow_leaf_field;

/* Field number `which` of the answer at that index, below its field_count: all that the answer has, set or not, by
 * register and bit. `size` is sizeof *field. */
int quarrow_leaves_field(const quarrow_leaves* leaves, size_t index, size_t which, quarrow_leaf_field* field,
                         size_t size);

/* The English words: "eax", "flag"; NULL on failure. */
const char* quarrow_register_name(uint32_t register_index);
const char* quarrow_field_kind_name(uint32_t kind);

#ifdef __cplusplus
}
#endif

#endif
