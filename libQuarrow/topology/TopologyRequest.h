#pragma once

#include <libQuarrow/topology/ProcessorSet.h>

#include <cstddef>
#include <functional>
#include <optional>

namespace libQuarrow::topology {

// What Topology::read() asks each processor for, all of it in the same visit.
struct TopologyRequest {
    bool useThreadAffinity = true; // move the calling thread; false: the whole process
    bool speeds = false;           // Processor::speed, and
    bool measure = true;           // of that what must be measured, 25 milliseconds for each processor
    bool limits = false;           // Processor::limits
    bool leaves = false;           // Processor::leaves
    // Processor::microcode. The files of the system that tell it take longer than all of CPUID: some 2 microseconds for
    // each processor, more in a guest.
    bool microcode = false;
    // Whose speeds and limits, by number; without it, all processors'.
    std::optional<ProcessorSet> whose;
    // Called after each processor, those left out included, by the calling thread while it is still there: how many are
    // done, and how many there are. It must not throw.
    std::function<void(std::size_t done, std::size_t all)> progress;
};

} // namespace libQuarrow::topology
