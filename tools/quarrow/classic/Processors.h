#pragma once

#include <tools/quarrow/Request.h>

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <functional>
#include <string>
#include <vector>

namespace quarrow {

using Processors = std::vector<const libQuarrow::cpu::x86_cpu*>;

// The machine as packages, cores and threads, read in one visit of each logical processor.
struct Machine {
    libQuarrow::cpu::x86_physical_cpus tree;
    Processors processors; // in the order of their groups and their places there
};

// Reads the machine and calls `visit` for each processor while the thread is there: a command asks then all
// that it needs of the processor, and keeps it under its address. `doing` names what takes so long that a progress bar
// shows it. Throws Failure when no processor can be read.
Machine readMachine(const Request& request, const libQuarrow::cpu::x86_physical_cpus::Visitor& visit = {},
                    const char* doing = nullptr);

// Whether one of the operands is the processor's logical number; without operands all are named.
bool isNamed(const libQuarrow::cpu::x86_cpu& cpu, const std::vector<std::string>& operands);
// Those processors, in the order of the operands. Throws Failure for an operand that is not a number and for a number
// that no processor has.
Processors namedProcessors(const Processors& processors, const std::vector<std::string>& operands);

// What `describe` says of each processor. Processors of which it says the same stand together, under their numbers, in
// the order of the first of each group.
std::string describedTogether(const Processors& processors,
                              const std::function<std::string(const libQuarrow::cpu::x86_cpu&)>& describe);

// "0-3, 8": logical processor numbers, ascending; the affinity text stands for a processor whose number is not known.
std::string numberRanges(const Processors& processors);

} // namespace quarrow
