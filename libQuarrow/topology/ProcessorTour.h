#pragma once

#include <libQuarrow/topology/Processor.h>
#include <libQuarrow/topology/ProcessorNumbering.h>

#include <functional>
#include <optional>
#include <vector>

// Private to the library: the one way to visit all logical processors of the current machine.

namespace libQuarrow::cpu {
class CpuidReader;
}

namespace libQuarrow::topology {

struct ProcessorPlace {
    std::uint32_t number;
    std::uint16_t group;
    std::uint8_t bit;
};

struct ProcessorTour {
    ProcessorNumbering numbering;
    std::vector<LeftOutProcessor> leftOut; // those that could not be visited, by ascending numbers
};

using ProcessorVisit = std::function<void(const ProcessorPlace& place, cpu::CpuidReader& cpuid)>;
using TourProgress = std::function<void(std::size_t done, std::size_t all)>;

// Calls `visit` on each processor in turn with a reader of that processor, and `progress`, where there is one, after
// each: first on the one where the calling thread is, which saves a migration, then by ascending groups and places. The
// thread (or, `useThreadAffinity` false, the process) is moved there, and at the end back. None when the processors
// cannot be listed.
std::optional<ProcessorTour> tourProcessors(bool useThreadAffinity, const ProcessorVisit& visit,
                                            const TourProgress& progress = {});

} // namespace libQuarrow::topology
