#pragma once

#include <libQuarrow/topology/Topology.h>

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

// What no machine may contradict, whatever it told: where a topology does, what that is; else empty.
class TopologyInvariants {
  public:
    explicit TopologyInvariants(const libQuarrow::topology::Topology& topology) : m_topology(topology) {}

    std::string contradiction() {
        checkPlaces();
        checkLevel("package", m_topology.packages(), [](const Processor& p) { return std::optional(p.package); });
        checkLevel("die", m_topology.dies(), [](const Processor& p) { return p.die; });
        checkLevel("complex", m_topology.complexes(), [](const Processor& p) { return p.complex; });
        checkLevel("module", m_topology.modules(), [](const Processor& p) { return p.module; });
        checkLevel("core", m_topology.cores(), [](const Processor& p) { return std::optional(p.core); });
        checkInside("core", "package", m_topology.cores(), m_topology.packages());
        checkInside("die", "package", m_topology.dies(), m_topology.packages());
        checkInside("complex", "package", m_topology.complexes(), m_topology.packages());
        checkInside("module", "package", m_topology.modules(), m_topology.packages());
        for (const libQuarrow::topology::Cache& cache : m_topology.caches()) {
            checkCache(cache);
        }
        checkCacheUses();
        checkNodes();
        return m_wrong;
    }

  private:
    using Processor = libQuarrow::topology::Processor;
    using ProcessorSet = libQuarrow::topology::ProcessorSet;

    void require(bool right, const std::string& otherwise) {
        if (!right && m_wrong.empty()) {
            m_wrong = otherwise;
        }
    }

    // Ascending numbers, none twice, and no two processors the same thread of a core.
    void checkPlaces() {
        std::set<std::pair<std::uint32_t, std::uint32_t>> places;
        std::optional<std::uint32_t> before;
        for (const Processor& processor : m_topology.processors()) {
            require(!before || *before < processor.number, "processors out of order");
            before = processor.number;
            require(places.emplace(processor.core, processor.thread).second,
                    "two processors are thread " + std::to_string(processor.thread) + " of core " +
                        std::to_string(processor.core));
            require(processor.identity != nullptr, "a processor without an identity");
            const ProcessorSet* const core =
                processor.core < m_topology.cores().size() ? &m_topology.cores()[processor.core] : nullptr;
            require(core != nullptr && processor.thread < core->count(), "threads of a core are not counted from 0");
        }
    }

    // The level's sets are those of the processors' numbers, without gaps.
    template <class NumberOf>
    void checkLevel(const std::string& name, const std::vector<ProcessorSet>& sets, NumberOf numberOf) {
        std::vector<ProcessorSet> told(sets.size());
        for (const Processor& processor : m_topology.processors()) {
            const std::optional<std::uint32_t> number = numberOf(processor);
            require(!number || *number < sets.size(), "a " + name + " that is not listed");
            if (number && *number < sets.size()) {
                told[*number].insert(processor.number);
            }
        }
        require(told == sets, "the list of each " + name + " is not what its processors say");
        for (const ProcessorSet& set : sets) {
            require(!set.empty(), "an empty " + name);
        }
    }

    void checkInside(const std::string& inner, const std::string& outer, const std::vector<ProcessorSet>& inside,
                     const std::vector<ProcessorSet>& around) {
        for (const ProcessorSet& set : inside) {
            const Processor* const first = m_topology.find(set.first().value_or(0));
            require(first != nullptr && first->package < around.size() && around[first->package].contains(set),
                    "a " + inner + " in more than one " + outer);
        }
    }

    void checkCache(const libQuarrow::topology::Cache& cache) {
        require(cache.figures.sizeBytes != 0 && cache.figures.level != 0, "a cache of no size or level");
        if (!cache.sharedBy) {
            return;
        }
        ProcessorSet all;
        std::size_t count = 0;
        for (const ProcessorSet& sharers : *cache.sharedBy) {
            require(!sharers.empty(), "a cache that nobody uses");
            all |= sharers;
            count += sharers.count();
        }
        require(all == cache.processors && count == all.count(), "those who share a cache are no partition");
    }

    void checkCacheUses() {
        for (const Processor& processor : m_topology.processors()) {
            std::set<std::pair<std::uint32_t, int>> levels;
            for (const Processor::CacheUse& use : processor.caches) {
                require(use.cache < m_topology.caches().size(), "a cache that is not listed");
                const libQuarrow::topology::Cache& cache = m_topology.caches().at(use.cache);
                require(levels.emplace(cache.figures.level, static_cast<int>(cache.figures.type)).second,
                        "two caches of one level and type");
                require(use.instance.has_value() == cache.sharedBy.has_value(), "an instance of who knows whom");
                require(!use.instance || (*cache.sharedBy).at(*use.instance).contains(processor.number),
                        "a cache that does not know its user");
            }
        }
    }

    void checkNodes() {
        for (const libQuarrow::topology::NumaNode& node : m_topology.numaNodes()) {
            for (const std::uint32_t number : node.processors) {
                const Processor* const processor = m_topology.find(number);
                require(processor != nullptr && processor->numaNode == node.number, "a processor in two nodes");
            }
        }
    }

    const libQuarrow::topology::Topology& m_topology;
    std::string m_wrong;
};

inline std::string contradictionIn(const libQuarrow::topology::Topology& topology) {
    return TopologyInvariants(topology).contradiction();
}

} // namespace testing_support
