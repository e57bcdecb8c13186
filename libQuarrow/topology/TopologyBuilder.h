#pragma once

#include <libQuarrow/machine/MicrocodeRevisions.h>
#include <libQuarrow/machine/NumaNodes.h>
#include <libQuarrow/topology/Numberer.h>
#include <libQuarrow/topology/Topology.h>
#include <libQuarrow/topology/decode/ProcessorFacts.h>

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

    void add(ProcessorFacts facts);
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
        std::uint64_t id = 0; // differs from all others
    };
    struct Model {
        const ModelFacts* facts = nullptr; // a key of m_models, which never moves
        IdShifts shifts;                   // those that its like agree on
        std::shared_ptr<const ProcessorIdentity> identity;
    };
    // What is around the next level's objects: a level, from 1 inwards, and the number of its object.
    struct Scopes {
        std::uint64_t level;
        std::vector<std::uint64_t> of; // of each processor
    };

    const Model& modelOf(const Member& member) const { return m_modelOf[member.model]; }

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
    std::map<ModelFacts, std::uint32_t> m_models;
    std::vector<Model> m_modelOf; // by a member's number of it
    os::NumaNodes m_nodes;
    os::MicrocodeRevisions m_microcode;
    Topology m_topology;
};

} // namespace libQuarrow::topology
