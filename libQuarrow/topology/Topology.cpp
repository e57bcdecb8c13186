#include <libQuarrow/topology/Topology.h>

#include <libQuarrow/topology/MachineVisit.h>

#include <algorithm>

namespace libQuarrow::topology {
namespace {

// The first processor of that number or a higher one.
std::vector<Processor>::const_iterator firstFrom(const std::vector<Processor>& processors, std::uint32_t number) {
    return std::lower_bound(processors.begin(), processors.end(), number,
                            [](const Processor& processor, std::uint32_t n) { return processor.number < n; });
}

} // namespace

std::optional<Topology> Topology::read(bool useThreadAffinity) {
    TopologyRequest request;
    request.useThreadAffinity = useThreadAffinity;
    return visitMachine(request);
}

std::optional<Topology> Topology::read(const TopologyRequest& request) {
    return visitMachine(request);
}

const Processor* Topology::find(std::uint32_t number) const {
    const auto found = firstFrom(m_processors, number);
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
    // By what is asked for and not by what the machine has: a tree of it asks for each core.
    ProcessorSet set;
    for (const ProcessorSet::Range& range : processors.ranges()) {
        for (auto at = firstFrom(m_processors, range.first); at != m_processors.end() && at->number <= range.last;
             ++at) {
            const ProcessorSet& core = m_cores[at->core];
            if (*std::find_if(core.begin(), core.end(), [&](auto n) { return processors.contains(n); }) == at->number) {
                set.insert(at->number);
            }
        }
    }
    return set;
}

} // namespace libQuarrow::topology
