#include <libQuarrow/topology/Topology.h>

#include <libQuarrow/topology/MachineVisit.h>

#include <algorithm>

namespace libQuarrow::topology {

std::optional<Topology> Topology::read(bool useThreadAffinity) {
    TopologyRequest request;
    request.useThreadAffinity = useThreadAffinity;
    return visitMachine(request);
}

std::optional<Topology> Topology::read(const TopologyRequest& request) {
    return visitMachine(request);
}

const Processor* Topology::find(std::uint32_t number) const {
    const auto found =
        std::lower_bound(m_processors.begin(), m_processors.end(), number,
                         [](const Processor& processor, std::uint32_t n) { return processor.number < n; });
    return found != m_processors.end() && found->number == number ? &*found : nullptr;
}

ProcessorSet Topology::all() const {
    ProcessorSet set;
    for (const Processor& processor : m_processors) {
        set.insert(processor.number);
    }
    return set;
}

ProcessorSet Topology::ofKind(CoreKind kind) const {
    ProcessorSet set;
    for (const Processor& processor : m_processors) {
        if (processor.kind == kind) {
            set.insert(processor.number);
        }
    }
    return set;
}

ProcessorSet Topology::ofNumaNode(std::uint32_t number) const {
    for (const NumaNode& node : m_numaNodes) {
        if (node.number == number) {
            return node.processors;
        }
    }
    return {};
}

std::optional<ProcessorSet> Topology::sharingCache(std::uint32_t number, std::uint32_t level) const {
    const Processor* const processor = find(number);
    if (processor == nullptr) {
        return std::nullopt;
    }
    // Caches of a level stand with data and instructions first, then the unified one, then traces.
    for (const Processor::CacheUse& use : processor->caches) {
        const Cache& cache = m_caches[use.cache];
        if (cache.figures.level == level) {
            return use.instance ? std::make_optional((*cache.sharedBy)[*use.instance]) : std::nullopt;
        }
    }
    return std::nullopt;
}

ProcessorSet Topology::oneThreadPerCore(const ProcessorSet& processors) const {
    ProcessorSet set;
    std::vector<bool> taken(m_cores.size());
    for (const Processor& processor : m_processors) {
        if (!taken[processor.core] && processors.contains(processor.number)) {
            taken[processor.core] = true;
            set.insert(processor.number);
        }
    }
    return set;
}

} // namespace libQuarrow::topology
