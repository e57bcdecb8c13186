#pragma once

#include <tools/quarrow/Request.h>

#include <libQuarrow/topology/Topology.h>
#include <libQuarrow/topology/leaves/MachineLeaves.h>

#include <functional>
#include <string>
#include <vector>

// The machine as every command but the classic ones reads it.

namespace quarrow {

using libQuarrow::topology::MachineLeaves;
using libQuarrow::topology::Processor;
using libQuarrow::topology::ProcessorSet;
using libQuarrow::topology::Topology;

// Visits each logical processor once. Throws Failure when there is none to be had; says on standard error which ones
// were left out.
Topology readTopology(const Request& request);
// The same for the CPUID leaves.
MachineLeaves readLeaves(const Request& request);

// The processors that the operands name, each as numbersIn() takes it; all without operands. Throws Failure for any
// other operand and for a number that no processor has.
ProcessorSet namedSet(const Topology& topology, const std::vector<std::string>& operands);
// The same as processors, ascending.
std::vector<const Processor*> namedProcessors(const Topology& topology, const std::vector<std::string>& operands);

// The numbers that an operand names: a list such as 0,4-7, or one number in any form. Throws Failure for any other
// text.
ProcessorSet numbersIn(const std::string& operand);

// Processors that `describe` tells the same of.
struct AlikeProcessors {
    ProcessorSet numbers;
    std::string description;
};
// In the order of their first ones.
std::vector<AlikeProcessors> alikeProcessors(const std::vector<const Processor*>& processors,
                                             const std::function<std::string(const Processor&)>& describe);

} // namespace quarrow
