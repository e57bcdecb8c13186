// Which processor is in which core, module, complex, die, package and node.

#include <libQuarrow/topology/TopologyBuilder.h>

#include <algorithm>
#include <tuple>

namespace libQuarrow::topology {
namespace {

// What is the same of all processors that share an object: their lowest possible ID.
std::uint64_t lowestId(std::uint64_t id, std::uint8_t shift) {
    return id >> shift << shift;
}

// IDs that processors tell have 32 bits. Those that take the place of one that is told twice lie above.
constexpr unsigned int toldIdBits = 32;

} // namespace

void TopologyBuilder::add(ProcessorFacts facts) {
    std::uint32_t model = static_cast<std::uint32_t>(m_modelOf.size());
    if (!m_members.empty() && modelOf(m_members.back()).facts == facts.model) {
        model = m_members.back().model; // as good as always
    } else {
        const auto [known, isNew] = m_models.emplace(facts.model.get(), model);
        model = known->second;
        if (isNew) {
            m_modelOf.push_back({facts.model, facts.model->placing.shifts, {}, {}});
        }
    }
    m_members.push_back({facts.number, facts.group, facts.bit, facts.place, model, std::move(facts.speed),
                         std::move(facts.limits), std::move(facts.leaves)});
}

Topology TopologyBuilder::build() && {
    const auto earlier = [](const Member& a, const Member& b) { return a.number < b.number; };
    if (!std::is_sorted(m_members.begin(), m_members.end(), earlier)) {
        std::sort(m_members.begin(), m_members.end(), earlier);
    }
    findRuns();
    agreeOnShifts();
    makeIdsDiffer();
    placeMembers();
    findCaches();
    deriveComplexes();
    deriveModules();
    tellKinds();
    tellNodes();
    findTlbs();
    return std::move(m_topology);
}

void TopologyBuilder::findRuns() {
    for (const Member& member : m_members) {
        if (!m_runs.empty() && m_runs.back().model == member.model &&
            m_runs.back().processors.last + 1 == member.number) {
            m_runs.back().processors.last = member.number;
        } else {
            m_runs.push_back({member.model, {member.number, member.number}});
        }
    }
}

// Like processors make up their IDs alike, and those of several kinds do too as far as is known. So where processors of
// one signature and kind tell different things, what most of them tell holds for all.
void TopologyBuilder::agreeOnShifts() {
    if (m_modelOf.size() < 2) {
        return;
    }
    const auto likeOf = [](const Model& model) {
        return std::make_tuple(model.facts->identity.vendor, model.facts->identity.signature,
                               model.facts->placing.kind);
    };
    std::vector<std::size_t> counts(m_modelOf.size(), 0);
    for (const Member& member : m_members) {
        ++counts[member.model];
    }
    std::map<decltype(likeOf(m_modelOf.front())), std::map<IdShifts, std::size_t>> told;
    for (std::size_t i = 0; i < m_modelOf.size(); ++i) {
        told[likeOf(m_modelOf[i])][m_modelOf[i].facts->placing.shifts] += counts[i];
    }
    for (Model& model : m_modelOf) {
        const auto& shifts = told[likeOf(model)];
        const auto most = std::max_element(shifts.begin(), shifts.end(),
                                           [](const auto& a, const auto& b) { return a.second < b.second; });
        model.shifts = most->first;
    }
}

std::size_t TopologyBuilder::doubledIds(std::uint32_t PlaceFacts::*id) const {
    Numbers ids;
    ids.reserve(m_members.size());
    for (const Member& member : m_members) {
        ids.push_back(member.place.*id);
    }
    std::sort(ids.begin(), ids.end());
    return ids.size() - static_cast<std::size_t>(std::unique(ids.begin(), ids.end()) - ids.begin());
}

// Where processors tell the same ID, one keeps it: one that tells it twice, in leaf 1 too, else the lowest. Nothing is
// known of where the others sit, and each is taken for a package of its own.
void TopologyBuilder::makeIdsDiffer() {
    const std::size_t doubled = doubledIds(&PlaceFacts::id);
    const bool useInitial = doubled != 0 && doubledIds(&PlaceFacts::initialId) < doubled;
    for (Member& member : m_members) {
        member.id = useInitial ? member.place.initialId : member.place.id;
    }
    if (doubled == 0) {
        return;
    }
    std::vector<std::size_t> order(m_members.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        order[i] = i;
    }
    const auto rank = [this](std::size_t i) {
        const Member& member = m_members[i];
        return std::make_tuple(member.id, (member.id & 0xFF) != member.place.initialId, i);
    };
    std::sort(order.begin(), order.end(), [&rank](std::size_t a, std::size_t b) { return rank(a) < rank(b); });
    std::uint64_t last = order.empty() ? 0 : m_members[order.front()].id;
    for (std::size_t k = 1; k < order.size(); ++k) {
        std::uint64_t& id = m_members[order[k]].id;
        if (id == last) {
            id = std::uint64_t{order[k] + 1} << toldIdBits;
        } else {
            last = id;
        }
    }
}

// Numbers the objects of a level by what is around them, and makes them what is around those of the next level.
// `keyOf`: what tells the object of a member and its model from others; none where the level is not told.
template <class Number, class KeyOf>
void TopologyBuilder::numberLevel(Scopes& scopes, Number Processor::*level, std::vector<ProcessorSet>& objects,
                                  KeyOf keyOf) {
    Numberer numberer;
    ++scopes.level;
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        const std::optional<std::uint64_t> key = keyOf(m_members[i], modelOf(m_members[i]));
        if (key) {
            const std::uint32_t number = numberer({scopes.of[i], *key});
            scopes.of[i] = scopes.level << 32 | number;
            m_topology.m_processors[i].*level = number;
            insertInto(objects, number, m_members[i].number);
        }
    }
}

void TopologyBuilder::placeMembers() {
    std::vector<Processor>& processors = m_topology.m_processors;
    processors.resize(m_members.size());
    for (std::size_t i = 0; i < m_members.size(); ++i) {
        Member& member = m_members[i];
        Processor& processor = processors[i];
        processor.number = member.number;
        processor.group = member.group;
        processor.bit = member.bit;
        processor.apicId = member.place.idTold ? std::make_optional(member.place.id) : std::nullopt;
        const auto& facts = modelOf(member).facts;
        processor.identity = std::shared_ptr<const ProcessorIdentity>(facts, &facts->identity);
        processor.speed = std::move(member.speed);
        processor.limits = std::move(member.limits);
        processor.leaves = std::move(member.leaves);
        const auto revision = m_microcode.find({member.group, member.bit});
        processor.microcode = revision != m_microcode.end() ? std::make_optional(revision->second) : std::nullopt;
    }

    const auto byShift = [](std::optional<std::uint8_t> IdShifts::*level) {
        return [level](const Member& member, const Model& model) {
            const auto& shift = model.shifts.*level;
            return shift ? std::make_optional(lowestId(member.id, *shift)) : std::nullopt;
        };
    };
    Scopes scopes{0, std::vector<std::uint64_t>(m_members.size(), 0)};
    numberLevel(scopes, &Processor::package, m_topology.m_packages, [](const Member& member, const Model& model) {
        return std::make_optional(lowestId(member.id, model.shifts.package));
    });
    numberLevel(scopes, &Processor::die, m_topology.m_dies, [](const Member& member, const Model& model) {
        if (model.shifts.die) {
            return std::make_optional(lowestId(member.id, *model.shifts.die));
        }
        const bool displaced = member.id >> toldIdBits != 0;
        return member.place.node && model.facts->placing.nodesAreDies
                   ? std::make_optional(displaced ? member.id : std::uint64_t{*member.place.node})
                   : std::nullopt;
    });
    numberLevel(scopes, &Processor::complex, m_topology.m_complexes, byShift(&IdShifts::complex));
    numberLevel(scopes, &Processor::module, m_topology.m_modules, byShift(&IdShifts::module));
    numberLevel(scopes, &Processor::core, m_topology.m_cores, [](const Member& member, const Model& model) {
        return std::make_optional(lowestId(member.id, model.shifts.core));
    });
    Numbers threads(m_topology.m_cores.size(), 0);
    for (Processor& processor : processors) {
        processor.thread = threads[processor.core]++;
    }
}

void TopologyBuilder::makeLevelOf(const Numbers& groups, std::optional<std::uint32_t> Processor::*level,
                                  std::vector<ProcessorSet>& objects) {
    for (std::size_t i = 0; i < groups.size(); ++i) {
        if (groups[i] != noNumber) {
            m_topology.m_processors[i].*level = groups[i];
            insertInto(objects, groups[i], m_members[i].number);
        }
    }
}

// A processor that several nodes claim is in the first of them.
void TopologyBuilder::tellNodes() {
    for (const auto& [number, masks] : m_nodes) {
        ProcessorSet all;
        for (const auto& [group, mask] : masks) {
            for (std::uint32_t bit = 0; bit < 64; ++bit) {
                const auto processor =
                    (mask >> bit & 1) != 0 ? m_topology.m_numbering.number(group, bit) : std::nullopt;
                if (processor) {
                    all.insert(*processor);
                }
            }
        }
        NumaNode node{number, {}};
        for (const std::uint32_t processor : all) {
            const Processor* const found = m_topology.find(processor);
            if (found != nullptr && !found->numaNode) {
                m_topology.m_processors[static_cast<std::size_t>(found - m_topology.m_processors.data())].numaNode =
                    number;
                node.processors.insert(processor);
            }
        }
        m_topology.m_numaNodes.push_back(std::move(node));
    }
}

void TopologyBuilder::findTlbs() {
    const std::vector<const TlbFigures*> all =
        distinct<TlbFigures>(&Model::tlbs, [](const ModelFacts& facts, auto add) {
            for (const TlbFigures& tlb : facts.tlbs) {
                add(tlb);
            }
        });
    std::vector<Tlb>& tlbs = m_topology.m_tlbs;
    tlbs.reserve(all.size());
    for (const TlbFigures* const figures : all) {
        tlbs.push_back({*figures, {}});
    }
    for (const Run& run : m_runs) {
        for (const std::uint32_t tlb : m_modelOf[run.model].tlbs) {
            tlbs[tlb].processors.insert(run.processors);
        }
    }
}

} // namespace libQuarrow::topology
