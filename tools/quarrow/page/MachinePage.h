#pragma once

#include <libQuarrow/topology/Topology.h>

#include <string>

namespace quarrow {

// The machine as one page: what it is, its picture, its caches and TLBs, its processors and what they can do, and
// every leaf, which the topology was asked for.
// `fileName` is that of a recorded machine, empty for the one that this runs on.
std::string machinePage(const libQuarrow::topology::Topology& topology, const std::string& fileName);

} // namespace quarrow
