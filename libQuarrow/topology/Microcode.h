#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/topology/ProcessorNumbering.h>

#include <cstdint>
#include <map>

namespace libQuarrow::topology {

// The revision of the microcode of each logical processor of the current machine, by the operating system's number. It
// is the operating system that tells it: Linux to any user, Windows not. A processor that it says nothing of is not in
// the map. In a guest it is what the hypervisor makes up.
//
// Apart from Topology::read because the system's files take longer than all of CPUID: some 2 microseconds for each
// processor, more in a guest.
QUARROW_EXPORT std::map<std::uint32_t, std::uint32_t> microcodeRevisions(const ProcessorNumbering& numbering);

} // namespace libQuarrow::topology
