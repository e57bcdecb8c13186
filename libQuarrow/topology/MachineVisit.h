#pragma once

#include <libQuarrow/topology/Topology.h>

// Private to the library: takes the topology of the current machine.

namespace libQuarrow::topology {

std::optional<Topology> visitMachine(const TopologyRequest& request);

} // namespace libQuarrow::topology
