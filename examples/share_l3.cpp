// Finds the processors that share an L3 cache with the first one and pins a thread there: where two threads that work
// on the same data are best kept.
//     share_l3 [RECORDING]

#include "MachineArgument.h"

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/x86/x86_cache_sharing.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <algorithm>
#include <iostream>
#include <thread>

using namespace libQuarrow::cpu;

namespace {

void work() {
    if (const boost::optional<AffinityMask> mine = AffinityMask::threadAffinityMask()) {
        std::cout << "The thread runs on " << mine->toString() << "\n";
    }
}

} // namespace

int main(int argc, char** argv) {
    MachineArgument machine;
    if (!machine.use(argc, argv)) {
        return 2;
    }
    zel::Array<x86_cpu> cpus;
    if (!x86_cpu::findLogicalCpus(cpus, true) || cpus.isEmpty()) {
        std::cerr << "The processors of the system cannot be read.\n";
        return 1;
    }
    zel::String size;
    AffinityMask neighbours;
    for (const x86_cache_kind& kind : x86_cache_sharing().kindsOf(cpus)) {
        if (kind.cache.getCacheLevel() != x86_cache_level_3 || !kind.instancesKnown) {
            continue;
        }
        for (const std::vector<const x86_cpu*>& sharing : kind.instances) {
            if (std::find(sharing.begin(), sharing.end(), &cpus[0]) != sharing.end()) {
                size = kind.cache.getCacheSizeFormatted(false);
                for (const x86_cpu* cpu : sharing) {
                    neighbours |= cpu->getAffinityMask();
                }
            }
        }
    }
    if (neighbours == AffinityMask()) {
        std::cerr << "It is not known which processors share an L3 cache with processor "
                  << cpus[0].getLogicalCpuNumber() << ".\n";
        return 1;
    }
    std::cout << size << " of L3 cache are shared by " << neighbours.toString() << "\n";

    bool pinned = false;
    std::thread worker([&neighbours, &pinned] {
        pinned = neighbours.setThreadAffinity();
        if (pinned) {
            work();
        }
    });
    worker.join();
    if (!pinned) {
        std::cerr << "The thread could not be pinned there.\n";
    }
    return pinned ? 0 : 1;
}
