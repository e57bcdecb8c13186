#pragma once

#include <tools/quarrow/fleet/FleetGroups.h>

#include <string>

namespace quarrow {

// A page for a browser: a row for each group, with its machines and features folded in. `leftOut` is how many files or
// lines could not be read.
std::string fleetPage(const FleetGroups& groups, std::size_t leftOut);

} // namespace quarrow
