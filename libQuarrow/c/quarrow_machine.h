#ifndef QUARROW_MACHINE_H
#define QUARROW_MACHINE_H

/* Part of quarrow.h: taking a machine, and handing it out whole. */

#include <libQuarrow/c/quarrow_base.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How a machine is taken: a sum of these, or 0. */
enum quarrow_take {
    QUARROW_MOVE_PROCESS = 1,   /* visit the processors by moving the whole process instead of the calling thread */
    QUARROW_WITH_SPEEDS = 2,    /* with what quarrow_processor_speed() tells: 25 milliseconds more for each processor */
    QUARROW_WITH_LIMITS = 4,    /* with what quarrow_processor_limits() tells */
    QUARROW_WITH_MICROCODE = 8, /* with the revision of the microcode: some 2 microseconds more for each processor */
    QUARROW_WITH_LEAVES = 16,   /* with what quarrow_leaves_of() tells */
    QUARROW_UNMEASURED = 32     /* of speeds only what is told: nothing is measured, which saves the milliseconds */
};

/* The machine that the program runs on. Moves the thread (or process) to each logical processor in turn and back, once,
 * which takes some ten microseconds for each. */
quarrow_machine* quarrow_machine_native(uint32_t take);
/* The same, with the speeds and limits of the processors in `whose` alone; NULL for those of all. */
quarrow_machine* quarrow_machine_native_of(uint32_t take, const quarrow_set* whose);
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

#ifdef __cplusplus
}
#endif

#endif
