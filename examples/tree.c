/* Prints where the processors of a machine sit, in C: packages, dies, complexes, modules, cores and threads. The
 * machine is this one, or those recorded in the files that are named. `quarrow tree` prints the same, and the caches
 * after it. */

#include <libQuarrow/c/quarrow.h>

#include <stdio.h>

/* The levels from the outermost to the innermost, and what one of each is called. */
static const struct {
    uint32_t objects;
    const char* name;
} levels[] = {
    {QUARROW_PACKAGES, "Package"}, {QUARROW_DIES, "Die"},   {QUARROW_COMPLEXES, "Complex"},
    {QUARROW_MODULES, "Module"},   {QUARROW_CORES, "Core"},
};
enum { packageLevel = 0, coreLevel = 4 };

/* The processor with that number, which there is. */
static quarrow_processor processor_of(const quarrow_machine* machine, uint32_t number) {
    quarrow_processor processor;
    quarrow_machine_processor(machine, quarrow_machine_find(machine, number), &processor, sizeof processor);
    return processor;
}

/* The number of the level's object that the processor is in. */
static uint32_t object_of(const quarrow_processor* processor, int level) {
    const uint32_t objects[] = {processor->package, processor->die, processor->complex, processor->module,
                                processor->core};
    return objects[level];
}

/* Whether the level divides what is above it anywhere: a die a package is no line of its own. */
static int divides(const quarrow_machine* machine, int level) {
    const size_t count = quarrow_machine_count(machine, levels[level].objects);
    return level == packageLevel || level == coreLevel ||
           (count > quarrow_machine_count(machine, QUARROW_PACKAGES) &&
            count < quarrow_machine_count(machine, QUARROW_CORES));
}

static size_t cores_in(const quarrow_machine* machine, const quarrow_set* processors) {
    quarrow_set* ones = quarrow_set_one_per_core(machine, processors);
    const size_t count = quarrow_set_count(ones);
    quarrow_set_free(ones);
    return count;
}

static void print_title(const quarrow_processor* first, int level, const quarrow_set* processors, int indent) {
    printf("%*s%s %u", indent, "", levels[level].name, (unsigned)object_of(first, level));
    if (level == packageLevel) {
        printf(": %s", first->name);
    } else if (level == coreLevel) {
        char* list = quarrow_set_list(processors);
        if (first->kind != QUARROW_NONE) {
            printf(" (%s)", quarrow_kind_name(first->kind));
        }
        printf(": %s %s", quarrow_set_count(processors) == 1 ? "CPU" : "CPUs", list);
        quarrow_text_free(list);
    }
    printf("\n");
}

/* The objects of that level, and of those below it, that `within` has processors of. */
static void print_level(const quarrow_machine* machine, int level, const quarrow_set* within, int indent) {
    quarrow_set* ones = quarrow_set_one_per_core(machine, within);
    uint32_t before = QUARROW_NONE;
    uint32_t number;
    while (level < coreLevel && !divides(machine, level)) {
        ++level;
    }
    for (number = quarrow_set_next(ones, 0); number != QUARROW_NONE; number = quarrow_set_next(ones, number + 1)) {
        const quarrow_processor first = processor_of(machine, number);
        const uint32_t object = object_of(&first, level);
        if (object != QUARROW_NONE && object != before) {
            quarrow_set* whole = quarrow_set_of_object(machine, levels[level].objects, object);
            quarrow_set* processors = quarrow_set_intersection(whole, within);
            before = object;
            if (quarrow_set_next(processors, 0) == number) { /* else it was told where its first core was */
                const int one_core = level != packageLevel && cores_in(machine, processors) == 1;
                const int shown = one_core ? coreLevel : level; /* what holds but one core is that core */
                print_title(&first, shown, processors, indent);
                if (shown < coreLevel) {
                    print_level(machine, level + 1, processors, indent + 2);
                }
            }
            quarrow_set_free(whole);
            quarrow_set_free(processors);
        }
    }
    quarrow_set_free(ones);
}

/* Frees the machine. 0 when there is none. */
static int print_tree(quarrow_machine* machine) {
    quarrow_set* all;
    if (machine == NULL) {
        fprintf(stderr, "%s\n", quarrow_error_text());
        return 0;
    }
    all = quarrow_set_of_machine(machine);
    print_level(machine, packageLevel, all, 0);
    quarrow_set_free(all);
    quarrow_machine_free(machine);
    return 1;
}

int main(int argc, char** argv) {
    int good = 1;
    int i;
    if (argc < 2) {
        return print_tree(quarrow_machine_native(0)) ? 0 : 1;
    }
    for (i = 1; i < argc; ++i) {
        if (argc > 2) {
            printf("%s:\n", argv[i]);
        }
        good &= print_tree(quarrow_machine_load(argv[i], 0));
    }
    return good ? 0 : 1;
}
