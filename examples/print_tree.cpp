// Prints the packages, cores and threads of a machine, and the caches of each package.

#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <iostream>

using namespace libQuarrow::cpu;

int main() {
    // Moves this thread over all processors once, and back. Everything below is answered from what was read then,
    // except the caches, for which each core is visited again.
    const x86_physical_cpus tree(true);
    if (tree.size() == 0) {
        std::cerr << "The processors of the system cannot be read.\n";
        return 1;
    }
    for (std::size_t p = 0; p < tree.size(); ++p) {
        const x86_physical_cpu& package = tree[p];
        const bool avx2 = package.get().isAllowedFeature(x86_feature_AVX2);
        std::cout << "package " << package.getCpuNumber() << ": " << package.get().getCpuName()
                  << (avx2 ? ", with AVX2\n" : ", without AVX2\n");
        for (std::size_t c = 0; c < package.getCoreCount(); ++c) {
            const x86_cpu_core& core = package.getCore(c);
            std::cout << "  core " << core.getCoreNumber() << ":";
            for (std::size_t t = 0; t < core.getThreadCount(); ++t) {
                std::cout << " processor " << core.getThread(t).getLogicalCpuNumber();
            }
            std::cout << "\n";
        }
        x86_caches caches;
        if (!package.getCaches(caches)) {
            std::cout << "  caches: not known\n";
        }
        for (const x86_cache& cache : caches) {
            std::cout << "  " << x86_cache::levelText(cache.getCacheLevel()) << " "
                      << x86_cache::typeText(cache.getCacheType()) << ": " << cache.getCacheSizeFormatted(true) << "\n";
        }
    }
    return 0;
}
