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
 * Ownership. What a function makes (a machine, a set, leaves, a pin, a text that is no const) belongs to the caller,
 * who gives it to the function ending in _free of its kind. Texts that are const belong to the machine or leaves that
 * they were asked of, or, where neither was, to the library. Sets and leaves do not need the machine that they came
 * from.
 *
 * Failure. A function that makes something answers NULL, one that counts or asks answers 0, and one that fills
 * something answers a code other than QUARROW_OK and leaves it as it was. Each also keeps, for the calling thread, what
 * was wrong: quarrow_error_code() and quarrow_error_text(). A null pointer, an index out of range or an unknown
 * constant is QUARROW_ERROR_ARGUMENT and never a crash. Nothing else is ever thrown or signalled.
 *
 * Threads. Any number of threads may use the library at once, and ask one machine or read one set or leaves at once. A
 * set that is being changed and whatever is being freed belongs to one thread. Functions whose comment says that they
 * move the thread put it back before they return.
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
 *
 * This header is the one to include. Each that it includes is about one subject.
 */

#include <libQuarrow/c/quarrow_base.h>
#include <libQuarrow/c/quarrow_features.h>
#include <libQuarrow/c/quarrow_leaves.h>
#include <libQuarrow/c/quarrow_machine.h>
#include <libQuarrow/c/quarrow_objects.h>
#include <libQuarrow/c/quarrow_sets.h>
#include <libQuarrow/c/quarrow_speeds.h>

#endif
