#include <libQuarrow/cpu/x86/x86_cpu_core.h>

#include <utility>
#include <vector>

namespace libQuarrow::cpu {

x86_cpu_core::x86_cpu_core(zel::Array<x86_shared_cpu> threads) : m_threads(std::move(threads)) {
    m_location = get().getLocation();
    m_location.thread = x86_cpu_location::unspecified;
}

AffinityMask x86_cpu_core::affinityOf(const zel::Array<x86_shared_cpu>& threads) {
    // All groups at once, so that they are put in order once and not once per thread.
    std::vector<GroupAffinity> all;
    for (const x86_shared_cpu& thread : threads) {
        const std::vector<GroupAffinity>& groups = thread->getAffinityMask().getAffinityData().groups();
        all.insert(all.end(), groups.begin(), groups.end());
    }
    return AffinityMask(WinAffinity(std::move(all)));
}

AffinityMask x86_cpu_core::getAffinityMask() const {
    return affinityOf(m_threads);
}

} // namespace libQuarrow::cpu
