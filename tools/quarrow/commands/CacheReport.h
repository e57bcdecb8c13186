#pragma once

#include <libQuarrow/topology/Topology.h>

#include <cstddef>
#include <string>

namespace quarrow {

// Every kind of cache with its figures and who shares each, in lines of that many columns.
std::string cacheReport(const libQuarrow::topology::Topology& topology, std::size_t columns);
// The same for translation lookaside buffers; empty where the machine tells none.
std::string tlbReport(const libQuarrow::topology::Topology& topology, std::size_t columns);

} // namespace quarrow
