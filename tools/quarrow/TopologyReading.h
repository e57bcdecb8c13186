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

// Visits each logical processor once, and asks it for what else is wanted. Throws Failure when there is none to be had;
// says on standard error which ones were left out.
Topology readTopology(const Request& request, libQuarrow::topology::TopologyRequest asked = {});
// The same for the CPUID leaves.
MachineLeaves readLeaves(const Request& request);
// Of the processors that the operands name their speeds, which are measured under a progress bar, or their limits.
Topology readSpeeds(const Request& request);
Topology readLimits(const Request& request);

// For the end of a report that may leave something unknown: why MSRs did not tell it, in a line. Empty where they are
// within reach, or have no part in it.
std::string whyNoMsrs(const Topology& topology);

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
