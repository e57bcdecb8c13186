// Pins a thread to one logical processor of each performance core, or of each core where all are of one kind: where as
// many threads that compute as there are such cores are best kept.
//     one_thread_per_core [RECORDING]

#include "MachineArgument.h"

#include <libQuarrow/topology/ProcessorAffinity.h>
#include <libQuarrow/topology/Topology.h>
#include <libQuarrow/topology/features/isa.h>

#include <iostream>
#include <optional>
#include <thread>

using namespace libQuarrow::topology;

namespace {

void work(const ProcessorNumbering& numbering) {
    libQuarrow::cpu::AffinityMask mine;
    if (libQuarrow::cpu::AffinityMask::getThreadAffinityMask(mine)) {
        std::cout << "The thread runs on " << processorsOf(mine, numbering).toList() << "\n";
    }
}

} // namespace

int main(int argc, char** argv) {
    MachineArgument argument;
    if (!argument.use(argc, argv)) {
        return 2;
    }
    const std::optional<Topology> machine = Topology::read();
    if (!machine || machine->processors().empty()) {
        std::cerr << "The processors of the system cannot be read.\n";
        return 1;
    }
    for (const LeftOutProcessor& processor : machine->leftOut()) {
        std::cerr << "Processor " << processor.number << " is left out: " << processor.reason << "\n";
    }
    ProcessorSet withAvx2;
    for (const Processor& processor : machine->processors()) {
        if (processor.identity->usable.contains(isa::avx2)) {
            withAvx2.insert(processor.number);
        }
    }
    std::cout << withAvx2.count() << " of " << machine->processors().size() << " processors can run AVX2\n";

    ProcessorSet candidates = machine->ofKind(CoreKind::performance);
    if (candidates.empty()) {
        candidates = machine->all(); // one kind of core, or the machine does not tell
    }
    const ProcessorSet chosen = machine->oneThreadPerCore(candidates);
    std::cout << "One thread of each of " << chosen.count() << " cores: " << chosen.toList() << "\n";

    const libQuarrow::cpu::AffinityMask affinity = affinityOf(chosen, machine->numbering());
    bool pinned = false;
    std::thread worker([&affinity, &machine, &pinned] {
        pinned = affinity.setThreadAffinity();
        if (pinned) {
            work(machine->numbering());
        }
    });
    worker.join();
    if (!pinned) {
        std::cerr << "The thread could not be pinned there.\n";
    }
    return pinned ? 0 : 1;
}
