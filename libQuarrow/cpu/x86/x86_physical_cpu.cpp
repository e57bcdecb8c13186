#include <libQuarrow/cpu/x86/x86_physical_cpu.h>

#include <libQuarrow/cpu/x86/caches/x86_threads_per_core.h>
#include <libQuarrow/cpu/x86/x86_caches.h>

#include <utility>

namespace libQuarrow::cpu {
namespace {

x86_caches askForCaches(const x86_cpu& cpu) {
    x86_caches caches;
    cpu.getCaches(caches); // where it fails there are none
    return caches;
}

} // namespace

x86_physical_cpu::x86_physical_cpu(zel::Array<x86_cpu_core> cores, zel::Array<x86_shared_cpu> threads)
    : m_cores(std::move(cores)), m_threads(std::move(threads)) {
    m_location = getThread(0).getLocation();
    m_location.core = x86_cpu_location::unspecified;
    m_location.thread = x86_cpu_location::unspecified;
}

AffinityMask x86_physical_cpu::getAffinityMask() const {
    return x86_cpu_core::affinityOf(m_threads);
}

bool x86_physical_cpu::getCaches(x86_caches& caches) const {
    return getCaches(caches, askForCaches);
}

// Adding the caches of a core once per thread comes to this: records with topology IDs are one cache however often they
// are added, of the others the instances add up.
bool x86_physical_cpu::getCaches(x86_caches& caches,
                                 const std::function<x86_caches(const x86_cpu& cpu)>& cachesOf) const {
    zel::Array<x86_cache> all;
    for (const x86_cpu_core& core : m_cores) {
        const std::uint32_t times = threadsPerCore(core.get()).value_or(0);
        if (times == 0) {
            continue;
        }
        for (x86_cache cache : cachesOf(core.get())) {
            cache.setInstanceCount(cache.getInstanceCount() * times);
            all.append(cache);
        }
    }
    x86_caches found(all);
    found.consolidateCaches(true);
    for (std::size_t i = 0; i < found.size(); ++i) {
        x86_cache& cache = found[i];
        const std::uint32_t sharing = cache.getThreadsSharing();
        if (sharing == 0) {
            return false;
        }
        // Each instance was counted once by every thread that shares it. After the division the record says on purpose
        // that one thread shares it: the inventory tells how many caches there are, each thread's own list who shares.
        if (cache.getInstanceCount() >= sharing) {
            cache.setInstanceCount(cache.getInstanceCount() / sharing);
            cache.setThreadsSharing(1);
        } else {
            cache.setInstanceCount(1);
        }
    }
    caches = std::move(found);
    return true;
}

} // namespace libQuarrow::cpu
