#pragma once

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/topology/ProcessorNumbering.h>
#include <libQuarrow/topology/ProcessorSet.h>

namespace libQuarrow::topology {

// A set of processors as an affinity to pin with, and back. What has no place or number in `numbering` is left out.
QUARROW_EXPORT cpu::AffinityMask affinityOf(const ProcessorSet& processors, const ProcessorNumbering& numbering);
QUARROW_EXPORT ProcessorSet processorsOf(const cpu::AffinityMask& affinity, const ProcessorNumbering& numbering);

} // namespace libQuarrow::topology
