#pragma once

#include <libQuarrow/c/Failure.h>
#include <libQuarrow/c/ProcessorTexts.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/topology/Topology.h>

#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

// Private to the library: what the handles of the C interface hold.

struct quarrow_machine {
    quarrow_machine(libQuarrow::topology::Topology taken) : topology(std::move(taken)) {}

    const libQuarrow::topology::Topology topology; // of one processor at least
    // Of a recorded machine: what it is called, and what it was read from.
    std::optional<std::string> file;
    std::unique_ptr<const libQuarrow::os::RecordedMachine> recorded;
    mutable libQuarrow::c::ProcessorTexts texts; // what it keeps does not change the machine
};

struct quarrow_set {
    libQuarrow::topology::ProcessorSet processors;
};

namespace libQuarrow::c {

// Taking a recorded machine, and recording the live one, puts another machine in the current one's place for a while:
// that is for one thread alone. Asking the current machine is for any number of them.
std::shared_mutex& currentMachineMutex();

inline const topology::Topology& topologyOf(const quarrow_machine* machine) {
    return given(machine, "machine").topology;
}

// The processor with that number. Throws where there is none.
const topology::Processor& processorOf(const quarrow_machine* machine, std::uint32_t number);

inline quarrow_set* newSet(topology::ProcessorSet processors) {
    auto set = std::make_unique<quarrow_set>();
    set->processors = std::move(processors);
    return set.release();
}

// The numbers of the objects that QUARROW_KINDS counts.
std::vector<topology::CoreKind> kindsOf(const topology::Topology& topology);

} // namespace libQuarrow::c
