// Finds the processors that share an L3 cache with the first one and pins a thread there: where two threads that work
// on the same data are best kept.
//     share_l3 [RECORDING]

#include "MachineArgument.h"

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <iostream>
#include <thread>

using namespace libQuarrow::cpu;

namespace {

// The L3 cache that a processor uses, with the topology IDs that say which processors it serves.
bool findL3(const x86_cpu& cpu, x86_cache& l3) {
    x86_caches caches;
    std::size_t index = 0;
    if (!cpu.getCaches(caches) || !caches.findCache(x86_cache_level_3, x86_cache_type_unified, 0, index)) {
        return false;
    }
    l3 = caches[index];
    unsigned int id = 0;
    std::uint32_t mask = 0;
    if (l3.getTopologyIds(id, mask)) {
        return true;
    }
    // Some processors tell only how many share the cache: those whose APIC IDs are equal but for as many low bits as
    // that number needs.
    if (l3.getThreadsSharing() == 0 || !cpu.getApicId(id)) {
        return false;
    }
    std::uint64_t span = 1;
    while (span < l3.getThreadsSharing()) {
        span *= 2;
    }
    l3.setTopologyIds(id, static_cast<std::uint32_t>(~(span - 1)));
    return true;
}

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
    x86_cache l3;
    if (!findL3(cpus[0], l3)) {
        std::cerr << "It is not known which processors share an L3 cache with processor "
                  << cpus[0].getLogicalCpuNumber() << ".\n";
        return 1;
    }
    AffinityMask neighbours;
    for (const x86_cpu& cpu : cpus) {
        unsigned int apicId = 0;
        if (cpu.getApicId(apicId) && l3.matchesApicId(apicId)) {
            neighbours |= cpu.getAffinityMask();
        }
    }
    std::cout << l3.getCacheSizeFormatted(false) << " of L3 cache are shared by " << neighbours.toString() << "\n";

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
