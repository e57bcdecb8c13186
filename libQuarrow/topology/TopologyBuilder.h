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
    TopologyBuilder() { m_members.reserve(8); } // as many as simple machines have
    void setNumbering(ProcessorNumbering numbering) { m_topology.m_numbering = std::move(numbering); }
    void add(ProcessorFacts facts);
    void leaveOut(LeftOutProcessor processor) { m_topology.m_leftOut.push_back(std::move(processor)); }
    void setNumaNodes(os::NumaNodes nodes) { m_nodes = std::move(nodes); }
    void setMicrocode(os::MicrocodeRevisions revisions) { m_microcode = std::move(revisions); }
    void setMsrRefusal(std::string reason) { m_topology.m_msrRefusal = std::move(reason); }
    Topology build() &&;

  private:
    using Numbers = std::vector<std::uint32_t>; // one for each processor or object of a level, or noNumber
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
        Numbers caches;  // for each of its facts the place in Topology::caches()
        Numbers tlbs;
    };
    // Processors of one model that follow each other.
    struct Run {
        std::uint32_t model;
        ProcessorSet::Range processors;
    };
    // What is around the next level's objects: a level, from 1 inwards, and the number of its object.
    struct Scopes {
        std::uint64_t level;
        std::vector<std::uint64_t> of; // of each processor
    };

    const Model& modelOf(const Member& member) const { return m_modelOf[member.model]; }
    // The distinct figures of all models, ascending. Where they stand in that list goes to each model's `numbers`, in
    // the order of its own, which ascend and of which no two are the same.
    template <class Figures, class FiguresOf>
    std::vector<const Figures*> distinct(Numbers Model::*numbers, FiguresOf figuresOf) {
        std::vector<const Figures*> all;
        all.reserve(12); // more than most machines have
        for (const Model& model : m_modelOf) {
            figuresOf(*model.facts, [&all](const Figures& figures) { all.push_back(&figures); });
        }
        const auto less = [](const Figures* a, const Figures* b) { return *a < *b; };
        if (m_modelOf.size() > 1) {
            std::sort(all.begin(), all.end(), less);
            const auto same = [](const Figures* a, const Figures* b) { return *a == *b; };
            all.erase(std::unique(all.begin(), all.end(), same), all.end());
        }
        for (Model& model : m_modelOf) {
            (model.*numbers).reserve(std::min<std::size_t>(all.size(), 12));
            auto at = all.begin();
            figuresOf(*model.facts, [&](const Figures& figures) {
                at = *at == &figures ? at : std::lower_bound(at, all.end(), &figures, less);
                (model.*numbers).push_back(static_cast<std::uint32_t>(at++ - all.begin()));
            });
        }
        return all;
    }

    // Places: TopologyBuilder.cpp.
    void findRuns();
    void agreeOnShifts();
    void makeIdsDiffer();
    std::size_t doubledIds(std::uint32_t PlaceFacts::*id) const;
    void placeMembers();
    template <class Number, class KeyOf>
    void numberLevel(Scopes& scopes, Number Processor::*level, std::vector<ProcessorSet>& objects, KeyOf keyOf);
    void tellNodes();
    void findTlbs();
    static void insertInto(std::vector<ProcessorSet>& objects, std::uint32_t number, std::uint32_t processor) {
        if (number >= objects.size()) {
            if (objects.empty()) {
                objects.reserve(8);
            }
            objects.resize(number + std::size_t{1});
        }
        objects[number].insert(processor);
    }
    void makeLevelOf(const Numbers& groups, std::optional<std::uint32_t> Processor::*level,
                     std::vector<ProcessorSet>& objects);

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
    std::vector<Run> m_runs;                                        // ascending
    os::NumaNodes m_nodes;
    os::MicrocodeRevisions m_microcode;
    Topology m_topology;
};

} // namespace libQuarrow::topology
