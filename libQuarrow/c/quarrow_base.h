#ifndef QUARROW_BASE_H
#define QUARROW_BASE_H

/* Part of quarrow.h: the version of the interface, errors, and texts. */

#include <stddef.h> /* NOLINT(modernize-deprecated-headers): this is C */
#include <stdint.h> /* NOLINT(modernize-deprecated-headers) */

#ifdef __cplusplus
extern "C" {
#endif

/* The version of this interface. It goes up by one when something is added; nothing is ever removed or changed. */
#define QUARROW_ABI_VERSION 2

#define QUARROW_NONE 0xFFFFFFFFu
#define QUARROW_NONE64 (~(uint64_t)0)

/* A machine (quarrow_machine.h), and a set of logical processors by their numbers (quarrow_sets.h). */
typedef struct quarrow_machine quarrow_machine;
typedef struct quarrow_set quarrow_set;

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

#ifdef __cplusplus
}
#endif

#endif
