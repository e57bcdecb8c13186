#pragma once

#include <libQuarrow/machine/MicrocodeRevisions.h>
#include <libQuarrow/machine/NumaNodes.h>
#include <libQuarrow/topology/Numberer.h>
#include <libQuarrow/topology/Topology.h>
#include <libQuarrow/topology/decode/ProcessorFacts.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Private to the library: from what each processor tells to the machine.

namespace libQuarrow::topology {

class TopologyBuilder {
  public:
    explicit TopologyBuilder(ProcessorNumbering numbering) { m_topology.m_numbering = std::move(numbering); }

    void add(const ProcessorFacts& facts);
    void leaveOut(LeftOutProcessor processor) { m_topology.m_leftOut.push_back(std::move(processor)); }
    void setNumaNodes(const os::NumaNodes& nodes) { m_nodes = nodes; }
    void setMicrocode(os::MicrocodeRevisions revisions) { m_microcode = std::move(revisions); }
    void setMsrRefusal(std::string reason) { m_topology.m_msrRefusal = std::move(reason); }
    Topology build() &&;

  private:
    using Numbers = std::vector<std::uint32_t>; // one for each processor, or noNumber
    struct Member {
        std::uint32_t number;
        std::uint16_t group;
        std::uint8_t bit;
        PlaceFacts place;
        std::uint32_t model;
        std::shared_ptr<const ProcessorSpeed> speed;
        std::shared_ptr<const ProcessorLimits> limits;
        std::shared_ptr<const ProcessorLeaves> leaves;
        std::uint64_t id = 0; // differs from all others
    };
    struct Model {
        std::shared_ptr<const ModelFacts> facts;
        IdShifts shifts; // those that its like agree on
    };
    // What is around the next level's objects: a level, from 1 inwards, and the number of its object.
    struct Scopes {
        std::uint64_t level;
        std::vector<std::uint64_t> of; // of each processor
    };

    const Model& modelOf(const Member& member) const { return m_modelOf[member.model]; }
    // What all models' `visit` adds, ascending, each once.
    template <class Figures, class Visit>
    std::vector<const Figures*> distinct(Visit visit) const {
        std::vector<const Figures*> all;
        for (const Model& model : m_modelOf) {
            visit(*model.facts, [&all](const Figures& figures) { all.push_back(&figures); });
        }
        const auto less = [](const Figures* a, const Figures* b) { return *a < *b; };
        const auto same = [](const Figures* a, const Figures* b) { return *a == *b; };
        if (!std::is_sorted(all.begin(), all.end(), less)) {
            std::sort(all.begin(), all.end(), less);
        }
        all.erase(std::unique(all.begin(), all.end(), same), all.end());
        return all;
    }
    template <class Figures>
    static std::size_t indexIn(const std::vector<const Figures*>& all, const Figures& figures) {
        const auto less = [](const Figures* a, const Figures& b) { return *a < b; };
        return static_cast<std::size_t>(std::lower_bound(all.begin(), all.end(), figures, less) - all.begin());
    }

    // Places: TopologyBuilder.cpp.
    void agreeOnShifts();
    void makeIdsDiffer();
    std::size_t doubledIds(std::uint32_t PlaceFacts::*id) const;
    void placeMembers();
    template <class KeyOf>
    Numbers numberLevel(Scopes& scopes, KeyOf keyOf) const;
    void tellNodes();
    void findTlbs();
    static void fillSets(std::vector<ProcessorSet>& sets, const Numbers& numbers, const std::vector<Member>& members);

    // Caches, and what follows from who shares them: TopologyCaches.cpp.
    void findCaches();
    std::optional<ObjectKey> sharersKey(std::size_t member, const CacheFacts& cache, bool byNode) const;
    bool nodesHold() const;
    Numbers instancesOf(std::uint32_t level) const;
    bool nests(const Numbers& groups) const;
    bool splitsPackages(const Numbers& groups) const;
    bool joinsCores(const Numbers& groups) const;
    void deriveComplexes();
    void deriveModules();
    void tellKinds();
    std::vector<std::set<std::uint32_t>> sharedL3(const Numbers& l3) const;

    std::vector<Member> m_members;
    struct ByContent {
        bool operator()(const ModelFacts* a, const ModelFacts* b) const { return *a < *b; }
    };
    std::map<const ModelFacts*, std::uint32_t, ByContent> m_models; // their numbers
    std::vector<Model> m_modelOf;                                   // by a member's number of it
    os::NumaNodes m_nodes;
    os::MicrocodeRevisions m_microcode;
    Topology m_topology;
};

} // namespace libQuarrow::topology
