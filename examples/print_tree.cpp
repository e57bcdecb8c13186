// Prints the packages, cores and threads of a machine, and the caches of each package.
//     print_tree [RECORDING]

#include "MachineArgument.h"

#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <cstdio>

using namespace libQuarrow::cpu;

int main(int argc, char** argv) {
    MachineArgument machine;
    if (!machine.use(argc, argv)) {
        return 2;
    }
    // Moves this thread over all processors once, and back. Everything below is answered from what was read then,
    // except the caches, for which each core is visited again.
    const x86_physical_cpus tree(true);
    if (tree.size() == 0) {
        std::fputs("The processors of the system cannot be read.\n", stderr);
        return 1;
    }
    for (std::size_t p = 0; p < tree.size(); ++p) {
        const x86_physical_cpu& package = tree[p];
        std::printf("package %u: %s\n", package.getCpuNumber(), package.get().getCpuName().toUtf8().c_str());
        for (std::size_t c = 0; c < package.getCoreCount(); ++c) {
            const x86_cpu_core& core = package.getCore(c);
            std::printf("  core %u:", core.getCoreNumber());
            for (std::size_t t = 0; t < core.getThreadCount(); ++t) {
                std::printf(" processor %u", core.getThread(t).getLogicalCpuNumber());
            }
            std::printf("\n");
        }
        x86_caches caches;
        if (!package.getCaches(caches)) {
            std::printf("  caches: not known\n");
        }
        for (const x86_cache& cache : caches) {
            std::printf("  %s %s: %s\n", x86_cache::levelText(cache.getCacheLevel()),
                        x86_cache::typeText(cache.getCacheType()), cache.getCacheSizeFormatted(true).toUtf8().c_str());
        }
    }
    return 0;
}
