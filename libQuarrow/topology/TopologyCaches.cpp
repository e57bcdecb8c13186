// Which caches there are, who shares them, and what follows from that: complexes, modules and kinds of core that no
// leaf names.

#include <libQuarrow/topology/TopologyBuilder.h>

#include <algorithm>
#include <set>

namespace libQuarrow::topology {
namespace {

// Scopes of sharers' keys.
enum Scope : std::uint64_t { byId = 0, byCore = 1, byNode = 2, byPackage = 3, byComplex = 4 };

constexpr std::uint64_t scopeOf(Scope scope, std::uint32_t number) {
    return std::uint64_t{scope} << 32 | number;
}

bool isAmd(const ProcessorIdentity& identity) {
    return identity.vendor == "AuthenticAMD" || identity.vendor == "HygonGenuine";
}

// Whether `number` is not what was there first; the first stays.
bool differsFromFirst(std::uint32_t& first, std::uint32_t number) {
    first = first == noNumber ? number : first;
    return first != number;
}

} // namespace

// Leaf 0x8000001D says how many IDs share an L3, and powers of two of them. Where the nodes of leaf 0x8000001E would be
// torn by that, the nodes are right: parts of family 15h with six cores a die.
bool TopologyBuilder::nodesHold() const {
    std::map<std::pair<std::uint32_t, std::uint64_t>, std::uint32_t> nodes; // of package and lowest ID
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        const Member& member = m_members[i];
        for (const CacheFacts& cache : modelOf(member).facts->caches) {
            if (cache.figures.level != 3 || cache.sharing != CacheSharing::ids || !member.place.node) {
                continue;
            }
            const auto key =
                std::make_pair(m_topology.m_processors[i].package, member.id >> cache.idShift << cache.idShift);
            if (nodes.emplace(key, *member.place.node).first->second != *member.place.node) {
                return true;
            }
        }
    }
    return false;
}

// What is the same of all processors that share the cache with this one. No cache is shared between packages.
std::optional<ObjectKey> TopologyBuilder::sharersKey(std::size_t index, const CacheFacts& cache, bool byNodes) const {
    const Member& member = m_members[index];
    const Processor& processor = m_topology.m_processors[index];
    const bool l3 = cache.figures.level == 3;
    switch (cache.sharing) {
    case CacheSharing::ids:
        if (l3 && processor.complex) {
            return ObjectKey{scopeOf(byComplex, 0), *processor.complex};
        }
        if (l3 && byNodes && member.place.node) {
            return ObjectKey{scopeOf(byNode, processor.package), *member.place.node};
        }
        return ObjectKey{scopeOf(byId, processor.package), member.id >> cache.idShift << cache.idShift};
    case CacheSharing::core:
        return ObjectKey{scopeOf(byCore, 0), processor.core};
    case CacheSharing::package:
        return processor.die ? ObjectKey{scopeOf(byNode, processor.package), *processor.die}
                             : ObjectKey{scopeOf(byPackage, 0), processor.package};
    case CacheSharing::notTold:
        break;
    }
    // A package of one core leaves no doubt.
    const ProcessorSet& package = m_topology.m_packages[processor.package];
    const bool oneCore = package.count() == m_topology.m_cores[processor.core].count();
    return oneCore ? std::make_optional(ObjectKey{scopeOf(byPackage, 0), processor.package}) : std::nullopt;
}

void TopologyBuilder::findCaches() {
    const std::vector<const CacheFigures*> all =
        distinct<CacheFigures>(&Model::caches, [](const ModelFacts& facts, auto add) {
            for (const CacheFacts& cache : facts.caches) {
                add(cache.figures);
            }
        });
    std::vector<Cache>& caches = m_topology.m_caches;
    caches.reserve(all.size());
    for (const CacheFigures* const figures : all) {
        caches.push_back({*figures, {}, std::vector<ProcessorSet>()});
    }
    for (const Run& run : m_runs) {
        for (const std::uint32_t cache : m_modelOf[run.model].caches) {
            caches[cache].processors.insert(run.processors);
        }
    }
    const bool byNodes = nodesHold();
    std::vector<Numberer> numberers(caches.size());
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        Processor& processor = m_topology.m_processors[i];
        const Model& model = modelOf(m_members[i]);
        processor.caches.reserve(model.caches.size());
        for (std::size_t k = 0; k < model.caches.size(); ++k) {
            const std::uint32_t number = model.caches[k];
            Cache& cache = caches[number];
            const auto key = sharersKey(i, model.facts->caches[k], byNodes);
            Processor::CacheUse use{number, std::nullopt};
            if (key && cache.sharedBy) {
                use.instance = numberers[number](*key);
                insertInto(*cache.sharedBy, *use.instance, processor.number);
            } else {
                cache.sharedBy.reset();
            }
            processor.caches.push_back(use);
        }
    }
    for (Processor& processor : m_topology.m_processors) {
        for (Processor::CacheUse& use : processor.caches) {
            use.instance = caches[use.cache].sharedBy ? use.instance : std::nullopt;
        }
    }
}

// The data or unified cache of that level that each processor uses.
TopologyBuilder::Numbers TopologyBuilder::instancesOf(std::uint32_t level) const {
    Numbers instances(m_members.size(), noNumber);
    Numberer numberer;
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        for (const Processor::CacheUse& use : m_topology.m_processors[i].caches) {
            const CacheFigures& figures = m_topology.m_caches[use.cache].figures;
            if (figures.level == level && use.instance &&
                (figures.type == CacheType::data || figures.type == CacheType::unified)) {
                instances[i] = numberer({use.cache, *use.instance});
            }
        }
    }
    return instances;
}

// Whether no core is in two groups, and each group in one object of the levels around it. What tells no group counts
// with none, here and below.
bool TopologyBuilder::nests(const Numbers& groups) const {
    Numbers groupOfCore(m_topology.m_cores.size(), noNumber);
    std::vector<const Processor*> firstOfGroup(groups.size(), nullptr); // there are no more groups than processors
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groups[i] == noNumber) {
            continue;
        }
        const Processor& processor = m_topology.m_processors[i];
        const Processor*& first = firstOfGroup[groups[i]];
        first = first == nullptr ? &processor : first;
        if (differsFromFirst(groupOfCore[processor.core], groups[i]) || first->package != processor.package ||
            first->die != processor.die || first->complex != processor.complex) {
            return false;
        }
    }
    return true;
}

bool TopologyBuilder::splitsPackages(const Numbers& groups) const {
    Numbers groupOfPackage(m_topology.m_packages.size(), noNumber);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groups[i] != noNumber && differsFromFirst(groupOfPackage[m_topology.m_processors[i].package], groups[i])) {
            return true;
        }
    }
    return false;
}

bool TopologyBuilder::joinsCores(const Numbers& groups) const {
    Numbers coreOfGroup(groups.size(), noNumber);
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groups[i] != noNumber && differsFromFirst(coreOfGroup[groups[i]], m_topology.m_processors[i].core)) {
            return true;
        }
    }
    return false;
}

// Where no leaf names complexes: the cores of an L3, where a package has several, and on AMD's from Zen on, which are
// made of them.
void TopologyBuilder::deriveComplexes() {
    if (!m_topology.m_complexes.empty()) {
        return;
    }
    const Numbers groups = instancesOf(3);
    const bool zen = std::all_of(m_modelOf.begin(), m_modelOf.end(), [](const Model& model) {
        return isAmd(model.facts->identity) && model.facts->identity.family >= 0x17;
    });
    if ((zen || splitsPackages(groups)) && nests(groups)) {
        makeLevelOf(groups, &Processor::complex, m_topology.m_complexes);
    }
}

// Where no leaf names modules: the cores of an L2, where several share one and a package has several.
void TopologyBuilder::deriveModules() {
    if (!m_topology.m_modules.empty()) {
        return;
    }
    const Numbers groups = instancesOf(2);
    if (joinsCores(groups) && splitsPackages(groups) && nests(groups)) {
        makeLevelOf(groups, &Processor::module, m_topology.m_modules);
    }
}

// For each package the L3 that its performance cores use; where there are none that do, the L3 of all of its cores.
std::vector<std::set<std::uint32_t>> TopologyBuilder::sharedL3(const Numbers& l3) const {
    std::vector<std::set<std::uint32_t>> shared(m_topology.m_packages.size());
    std::vector<std::set<std::uint32_t>> ofAll = shared;
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        if (l3[i] != noNumber) {
            const std::uint32_t package = m_topology.m_processors[i].package;
            ofAll[package].insert(l3[i]);
            if (modelOf(m_members[i]).facts->placing.kind == CoreKind::performance) {
                shared[package].insert(l3[i]);
            }
        }
    }
    for (std::size_t package = 0; package < shared.size(); ++package) {
        if (shared[package].empty()) {
            shared[package] = ofAll[package];
        }
    }
    return shared;
}

// Kinds as the leaves tell them. AMD's say that there are several on parts with one, so of those both must be there.
void TopologyBuilder::tellKinds() {
    std::set<CoreKind> amdKinds;
    bool told = false;
    for (const Model& model : m_modelOf) {
        told = told || model.facts->placing.kind || model.facts->identity.coreType;
        if (model.facts->placing.kind && !model.facts->identity.coreType) {
            amdKinds.insert(*model.facts->placing.kind);
        }
    }
    if (!told) {
        return;
    }
    const Numbers l3 = instancesOf(3);
    const std::vector<std::set<std::uint32_t>> shared = sharedL3(l3);
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        const ModelFacts& facts = *modelOf(m_members[i]).facts;
        Processor& processor = m_topology.m_processors[i];
        if (!facts.identity.coreType) {
            processor.kind = amdKinds.size() > 1 ? facts.placing.kind : std::nullopt;
            continue;
        }
        const std::set<std::uint32_t>& others = shared[processor.package];
        const bool outside = !others.empty() && others.count(l3[i]) == 0;
        processor.kind = facts.placing.kind == CoreKind::efficient && outside ? CoreKind::lowPower : facts.placing.kind;
    }
}

} // namespace libQuarrow::topology
