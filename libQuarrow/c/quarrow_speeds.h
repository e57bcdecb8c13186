#ifndef QUARROW_SPEEDS_H
#define QUARROW_SPEEDS_H

/* Part of quarrow.h: how fast processors run, and how far they may go. */

#include <libQuarrow/c/quarrow_base.h>

#ifdef __cplusplus
extern "C" {
#endif

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
 * it (QUARROW_WITH_SPEEDS, quarrow_machine_native_of()). */
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
 * without them (QUARROW_WITH_LIMITS, quarrow_machine_native_of()). */
int quarrow_processor_limits(const quarrow_machine* machine, uint32_t number, quarrow_limits* limits, size_t size);
/* The highest multiplier while so many cores or fewer are active; ascending. Either pointer may be null. */
int quarrow_processor_turbo_ratio(const quarrow_machine* machine, uint32_t number, size_t which, uint32_t* active_cores,
                                  uint32_t* ratio);
/* Why a model-specific register that speeds or limits needed could not be asked for, and what to do, in a line; NULL
 * where none was needed, and where they are within reach. */
const char* quarrow_machine_msr_refusal(const quarrow_machine* machine);

#ifdef __cplusplus
}
#endif

#endif
