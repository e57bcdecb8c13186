#include <tools/quarrow/fleet/FleetMachine.h>

#include <tools/quarrow/Words.h>

#include <libQuarrow/topology/names/HypervisorNames.h>
#include <libQuarrow/topology/names/ProcessorNames.h>
#include <zel/String.h>

#include <algorithm>
#include <map>
#include <set>

namespace quarrow {

using libQuarrow::topology::Cache;
using libQuarrow::topology::CoreKind;
using libQuarrow::topology::FeatureSet;
using libQuarrow::topology::Processor;
using libQuarrow::topology::ProcessorIdentity;
using libQuarrow::topology::ProcessorSet;
using libQuarrow::topology::Topology;
using nlohmann::json;

namespace {

// What all processors have in common: features, usable and level.
void takeCommonFeatures(FleetMachine& machine, const FeatureSet& features, const FeatureSet& usable,
                        const std::optional<std::uint32_t>& level, bool isFirst) {
    machine.features = isFirst ? features : machine.features & features;
    machine.usable = isFirst ? usable : machine.usable & usable;
    const std::uint32_t lowest = isFirst ? level.value_or(0) : std::min(machine.level.value_or(0), level.value_or(0));
    machine.level = lowest == 0 ? std::nullopt : std::make_optional(lowest);
}

void takeFeatures(FleetMachine& machine, const Topology& topology) {
    const ProcessorIdentity* before = nullptr; // like processors share one
    for (const Processor& processor : topology.processors()) {
        const ProcessorIdentity* identity = processor.identity.get();
        if (identity != before) {
            takeCommonFeatures(machine, identity->features, identity->usable, identity->level, before == nullptr);
            before = identity;
        }
    }
}

std::vector<FleetKind> kindsOf(const Topology& topology) {
    std::map<std::optional<CoreKind>, ProcessorSet> kinds;
    for (const Processor& processor : topology.processors()) {
        kinds[processor.kind].insert(processor.number);
    }
    std::vector<FleetKind> list;
    for (const auto& [kind, processors] : kinds) {
        const auto names = libQuarrow::topology::namesOf(*topology.find(*processors.first()));
        list.push_back({kind ? nameOf(*kind) : "", std::string(names.microarchitecture),
                        topology.oneThreadPerCore(processors).count(), processors.count()});
    }
    return list;
}

std::vector<std::uint32_t> microcodeOf(const Topology& topology) {
    std::set<std::uint32_t> revisions;
    for (const Processor& processor : topology.processors()) {
        if (processor.microcode) {
            revisions.insert(*processor.microcode);
        }
    }
    return {revisions.begin(), revisions.end()};
}

std::size_t numaNodesOf(const Topology& topology) {
    std::set<std::uint32_t> nodes;
    for (const Processor& processor : topology.processors()) {
        if (processor.numaNode) {
            nodes.insert(*processor.numaNode);
        }
    }
    return nodes.size();
}

FleetCache fleetCacheOf(const Cache& cache) {
    const auto& figures = cache.figures;
    FleetCache result{figures.level, nameOf(figures.type), figures.sizeBytes, figures.ways, {}, cache.instances()};
    if (figures.lineSizeBytes != 0) {
        result.lineSizeBytes = figures.lineSizeBytes;
    }
    return result;
}

std::string hypervisorOf(const ProcessorIdentity& identity) {
    if (!identity.hypervisor) {
        return {};
    }
    const std::string_view name = libQuarrow::topology::hypervisorNamed(identity.hypervisor->signature);
    const std::string text(name.empty() ? identity.hypervisor->signature : name);
    return text.empty() ? "unknown" : text;
}

// Reads a document member by member. What is not as the schema has it throws std::invalid_argument, with a phrase.
class DocumentReader {
  public:
    explicit DocumentReader(const json& object) : m_object(object) {
        if (!object.is_object()) {
            fail("an object is expected");
        }
    }

    const json& at(const char* name) const {
        const auto found = m_object.find(name);
        return found != m_object.end() ? *found : fail(std::string("it has no ") + name);
    }
    bool has(const char* name) const { return m_object.contains(name); }
    const json& list(const char* name) const {
        const json& value = at(name);
        return value.is_array() ? value : fail(std::string(name) + " is no list");
    }
    std::string text(const char* name) const { // null is an empty one
        const json& value = at(name);
        return value.is_null() ? std::string() : textOf(value, name);
    }
    template <class Number>
    Number number(const char* name) const {
        const std::optional<Number> value = numberOrNull<Number>(name);
        if (!value) {
            fail(std::string(name) + " is no number");
        }
        return *value;
    }
    template <class Number>
    std::optional<Number> numberOrNull(const char* name) const {
        const json& value = at(name);
        if (value.is_null()) {
            return std::nullopt;
        }
        if (!value.is_number_unsigned() || value.get<std::uint64_t>() > std::numeric_limits<Number>::max()) {
            fail(std::string(name) + " is no number from 0");
        }
        return value.get<Number>();
    }
    FeatureSet features(const char* name) const {
        FeatureSet features;
        for (const json& feature : list(name)) {
            if (!feature.is_string()) {
                fail(std::string(name) + " holds what is no text");
            }
            features.insert({feature.get_ref<const std::string&>()});
        }
        return features;
    }
    [[noreturn]] static const json& fail(const std::string& what) { throw std::invalid_argument(what); }

  private:
    static const std::string& textOf(const json& value, const char* name) {
        return value.is_string() ? value.get_ref<const std::string&>()
                                 : fail(std::string(name) + " is no text").get_ref<const std::string&>();
    }

    const json& m_object;
};

void readSummary(const DocumentReader& summary, FleetMachine& machine) {
    machine.name = summary.text("name");
    machine.packages = summary.number<std::uint32_t>("packages");
    machine.dies = summary.numberOrNull<std::uint32_t>("dies");
    machine.cores = summary.number<std::uint32_t>("cores");
    machine.threads = summary.number<std::uint32_t>("threads");
    for (const json& element : summary.list("kinds")) {
        const DocumentReader kind(element);
        machine.kinds.push_back({kind.text("kind"), kind.text("microarchitecture"), kind.number<std::uint32_t>("cores"),
                                 kind.number<std::uint32_t>("threads")});
    }
    if (!summary.at("hypervisor").is_null()) {
        const DocumentReader hypervisor(summary.at("hypervisor"));
        machine.hypervisor = hypervisor.text("name");
        if (machine.hypervisor.empty()) {
            machine.hypervisor = hypervisor.text("signature");
        }
        if (machine.hypervisor.empty()) {
            machine.hypervisor = "unknown";
        }
    }
}

void readProcessors(const json& processors, FleetMachine& machine) {
    std::set<std::uint32_t> nodes;
    std::set<std::uint32_t> revisions;
    const json* featuresBefore =
        nullptr; // like processors tell the same, and comparing is cheaper than looking names up
    const json* usableBefore = nullptr;
    for (const json& element : processors) {
        const DocumentReader processor(element);
        const bool isFirst = featuresBefore == nullptr;
        if (isFirst) {
            machine.vendor = processor.text("vendor");
            machine.codename = processor.text("codename");
            machine.family = processor.number<std::uint32_t>("family");
            machine.model = processor.number<std::uint32_t>("model");
            machine.stepping = processor.number<std::uint32_t>("stepping");
        }
        if (const auto node = processor.numberOrNull<std::uint32_t>("numaNode")) {
            nodes.insert(*node);
        }
        if (processor.has("microcode")) { // which the first documents had not
            if (const auto revision = processor.numberOrNull<std::uint32_t>("microcode")) {
                revisions.insert(*revision);
            }
        }
        const json& features = processor.list("features");
        const json& usable = processor.list("usable");
        if (isFirst || *featuresBefore != features || *usableBefore != usable) {
            takeCommonFeatures(machine, processor.features("features"), processor.features("usable"),
                               processor.numberOrNull<std::uint32_t>("level"), isFirst);
        }
        featuresBefore = &features;
        usableBefore = &usable;
    }
    machine.numaNodes = nodes.size();
    machine.microcode.assign(revisions.begin(), revisions.end());
}

FleetCache readCache(const DocumentReader& cache) {
    const std::string level = cache.text("level");
    if (level.size() != 2 || level[0] != 'L' || level[1] < '0' || level[1] > '9') {
        DocumentReader::fail("the level of a cache is not as L1");
    }
    FleetCache result;
    result.level = static_cast<std::uint32_t>(level[1] - '0');
    result.type = cache.text("type");
    const auto bytes = cache.numberOrNull<std::uint64_t>("sizeBytes");
    result.sizeBytes = bytes ? *bytes : cache.number<std::uint64_t>("sizeMicroOps");
    result.ways = cache.numberOrNull<std::uint32_t>("ways");
    result.lineSizeBytes = cache.numberOrNull<std::uint32_t>("lineSizeBytes");
    result.instances = cache.numberOrNull<std::uint32_t>("instances");
    return result;
}

FleetMachine readDocument(const json& value) {
    const DocumentReader document(value);
    if (document.at("document") != 2) {
        DocumentReader::fail("it is not document 2; make it with 'quarrow export jsonl'");
    }
    FleetMachine machine;
    readSummary(DocumentReader(document.at("summary")), machine);
    const json& processors = document.list("processors");
    if (processors.empty() || processors.size() != machine.threads) {
        DocumentReader::fail("it is not of all processors; make it with 'quarrow export jsonl'");
    }
    readProcessors(processors, machine);
    for (const json& cache : document.list("caches")) {
        machine.caches.push_back(readCache(DocumentReader(cache)));
    }
    return machine;
}

} // namespace

FleetMachine fleetMachineOf(const Topology& topology) {
    const Processor& first = topology.processors().front();
    const ProcessorIdentity& identity = *first.identity;
    FleetMachine machine;
    machine.vendor = identity.vendor;
    machine.name = zel::String::fromUtf8(identity.brand).normalizeSpaces().toUtf8();
    machine.family = identity.family;
    machine.model = identity.model;
    machine.stepping = identity.stepping;
    machine.codename = libQuarrow::topology::namesOf(first).codename;
    machine.hypervisor = hypervisorOf(identity);
    machine.packages = topology.packages().size();
    if (!topology.dies().empty()) {
        machine.dies = topology.dies().size();
    }
    machine.cores = topology.cores().size();
    machine.threads = topology.processors().size();
    machine.numaNodes = numaNodesOf(topology);
    machine.microcode = microcodeOf(topology);
    machine.kinds = kindsOf(topology);
    for (const Cache& cache : topology.caches()) {
        machine.caches.push_back(fleetCacheOf(cache));
    }
    takeFeatures(machine, topology);
    return machine;
}

std::optional<FleetMachine> fleetMachineOf(const json& document, std::string& error) {
    try {
        return readDocument(document);
    } catch (const std::invalid_argument& what) {
        error = what.what();
        return std::nullopt;
    }
}

std::string fleetName(const FleetMachine& machine) {
    return !machine.name.empty() ? machine.name
                                 : (machine.vendor.empty() ? "unknown maker" : machine.vendor) + " family " +
                                       std::to_string(machine.family) + " model " + std::to_string(machine.model) +
                                       " stepping " + std::to_string(machine.stepping);
}

std::string fleetBuild(const FleetMachine& machine) {
    const bool manyDies = machine.dies.value_or(0) > machine.packages;
    return joined({counted(machine.packages, "package"), manyDies ? counted(*machine.dies, "die") : std::string(),
                   counted(machine.cores, "core"), counted(machine.threads, "thread"),
                   machine.numaNodes > 1 ? counted(machine.numaNodes, "NUMA node") : std::string()});
}

std::string fleetKinds(const FleetMachine& machine) {
    std::vector<std::string> texts;
    for (const FleetKind& kind : machine.kinds) {
        const bool named = !kind.microarchitecture.empty();
        texts.push_back(kind.kind.empty() ? kind.microarchitecture
                                          : std::to_string(kind.cores) + " " + kind.kind +
                                                (named ? " (" + kind.microarchitecture + ")" : ""));
    }
    return joined(texts);
}

std::string fleetCache(const FleetCache& cache) {
    const std::string size =
        cache.type == "trace" ? std::to_string(cache.sizeBytes / 1024) + "K micro-ops" : sizeText(cache.sizeBytes);
    const std::string times = !cache.instances        ? "? x "
                              : *cache.instances == 1 ? ""
                                                      : std::to_string(*cache.instances) + " x ";
    return times + "L" + std::to_string(cache.level) + (cache.type == "unified" ? "" : " " + cache.type) + " " + size;
}

std::string fleetCaches(const FleetMachine& machine) {
    std::vector<std::string> texts;
    for (const FleetCache& cache : machine.caches) {
        texts.push_back(fleetCache(cache));
    }
    return joined(texts);
}

} // namespace quarrow
