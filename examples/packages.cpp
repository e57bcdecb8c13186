// Prints each physical package of the machine, whether AVX2 may be used on it, and its caches.

#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <iostream>

using namespace libQuarrow::cpu;

int main() {
    // Moves this thread to each logical processor in turn and puts its affinity back.
    const x86_physical_cpus machine(true);

    for (std::size_t i = 0; i < machine.size(); ++i) {
        const x86_physical_cpu& package = machine[i];
        const x86_cpu& cpu = package.get();
        std::cout << cpu.getCpuName() << ": " << package.getCoreCount() << " cores, " << package.getThreadCount()
                  << " threads, affinity " << package.getAffinityMask().toString() << "\n";
        std::cout << "  AVX2: " << (cpu.isAllowedFeature(x86_feature_AVX2) ? "yes" : "no") << "\n";

        x86_caches caches;
        if (package.getCaches(caches)) { // false: not known
            for (const x86_cache& cache : caches) {
                std::cout << "  " << x86_cache::levelText(cache.getCacheLevel()) << " "
                          << x86_cache::typeText(cache.getCacheType()) << ": " << cache.getCacheSizeFormatted(true)
                          << "\n";
            }
        }
    }
    return machine.size() != 0 ? 0 : 1;
}
