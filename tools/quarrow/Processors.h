#pragma once

#include <tools/quarrow/Request.h>

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <zel/Array.h>

#include <functional>
#include <string>
#include <vector>

namespace quarrow {

// Every logical processor of the machine. Throws Failure when there is none to be had.
zel::Array<libQuarrow::cpu::x86_cpu> readProcessors(const Request& request);
// The same as packages, cores and threads.
libQuarrow::cpu::x86_physical_cpus readTree(const Request& request);

// The processors that the operands name by logical processor number, in that order; all, when there are no operands.
// Throws Failure for an operand that is no number and for a number that no processor has.
std::vector<const libQuarrow::cpu::x86_cpu*> namedProcessors(const zel::Array<libQuarrow::cpu::x86_cpu>& processors,
                                                             const std::vector<std::string>& operands);

// What `describe` tells of each processor, once for all that it tells the same of, under their numbers. In the order of
// their first ones.
std::string describedTogether(const zel::Array<libQuarrow::cpu::x86_cpu>& processors,
                              const std::function<std::string(const libQuarrow::cpu::x86_cpu&)>& describe);

// "0-3, 8": logical processor numbers, ascending; the affinity text stands for a processor whose number is not known.
std::string numberRanges(const std::vector<const libQuarrow::cpu::x86_cpu*>& processors);

} // namespace quarrow
