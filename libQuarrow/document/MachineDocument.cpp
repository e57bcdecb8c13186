#include <libQuarrow/document/MachineDocument.h>

#include <libQuarrow/document/ProcessorWords.h>
#include <libQuarrow/topology/names/HypervisorNames.h>
#include <libQuarrow/topology/names/ProcessorNames.h>

#include <algorithm>
#include <map>

namespace libQuarrow::document {

using nlohmann::ordered_json;
using topology::Cache;
using topology::CoreKind;
using topology::Hypervisor;
using topology::Processor;
using topology::ProcessorIdentity;
using topology::ProcessorLimits;
using topology::ProcessorNames;
using topology::ProcessorSet;
using topology::ProcessorSpeed;
using topology::Tlb;
using topology::Topology;

namespace {

constexpr int documentVersion = 2;

template <class Value>
ordered_json orNull(const std::optional<Value>& value) {
    return value ? ordered_json(*value) : ordered_json();
}

ordered_json orNull(std::string_view text) {
    return text.empty() ? ordered_json() : ordered_json(text);
}

// The brand string, its blanks normalised.
ordered_json brandJson(const ProcessorIdentity& identity) {
    return orNull(std::string_view(zel::String::fromUtf8(identity.brand).normalizeSpaces().toUtf8()));
}

ordered_json kindJson(const std::optional<CoreKind>& kind) {
    return kind ? ordered_json(nameOf(*kind)) : ordered_json();
}

ordered_json numbersJson(const ProcessorSet& processors) {
    return ordered_json(std::vector<std::uint32_t>(processors.begin(), processors.end()));
}

ordered_json countJson(const std::vector<ProcessorSet>& objects) {
    return objects.empty() ? ordered_json() : ordered_json(objects.size());
}

// A machine with one kind of core has one element, of kind null.
ordered_json kindsJson(const Topology& topology) {
    std::map<std::optional<CoreKind>, ProcessorSet> kinds;
    for (const Processor& processor : topology.processors()) {
        kinds[processor.kind].insert(processor.number);
    }
    ordered_json list = ordered_json::array();
    for (const auto& [kind, processors] : kinds) {
        const ProcessorNames names = namesOf(*topology.find(*processors.first()));
        list.push_back({{"kind", kindJson(kind)},
                        {"microarchitecture", orNull(names.microarchitecture)},
                        {"cores", topology.oneThreadPerCore(processors).count()},
                        {"threads", processors.count()}});
    }
    return list;
}

ordered_json hypervisorJson(const ProcessorIdentity& identity) {
    if (!identity.hypervisor) {
        return nullptr;
    }
    const auto named = [](const Hypervisor& hypervisor) {
        return ordered_json{{"signature", orNull(std::string_view(hypervisor.signature))},
                            {"name", orNull(topology::hypervisorNamed(hypervisor.signature))}};
    };
    ordered_json json = named(*identity.hypervisor);
    json["interfaces"] = ordered_json::array({json});
    for (const Hypervisor& further : identity.furtherHypervisors) {
        json["interfaces"].push_back(named(further));
    }
    return json;
}

ordered_json leftOutJson(const Topology& topology) {
    ordered_json list = ordered_json::array();
    for (const auto& processor : topology.leftOut()) {
        list.push_back({{"logicalCpuNumber", processor.number}, {"reason", processor.reason}});
    }
    return list;
}

ordered_json summaryJson(const Topology& topology) {
    const ProcessorIdentity& first = *topology.processors().front().identity;
    return {{"name", brandJson(first)},
            {"packages", topology.packages().size()},
            {"dies", countJson(topology.dies())},
            {"cores", topology.cores().size()},
            {"threads", topology.processors().size()},
            {"level", orNull(levelOfAll(topology))},
            {"kinds", kindsJson(topology)},
            {"hypervisor", hypervisorJson(first)},
            {"leftOut", leftOutJson(topology)}};
}

ordered_json signatureFieldsJson(const ProcessorIdentity& identity) {
    return {{"family", identity.baseFamily()},
            {"extFamily", identity.extendedFamily()},
            {"model", identity.baseModel()},
            {"extModel", identity.extendedModel()},
            {"stepping", identity.stepping}};
}

ordered_json avx10Json(const ProcessorIdentity& identity) {
    return identity.avx10
               ? ordered_json{{"version", identity.avx10->version}, {"vectorBits", identity.avx10->vectorBits}}
               : ordered_json();
}

ordered_json speedJson(const ProcessorSpeed& speed) {
    ordered_json states = ordered_json::array();
    for (const auto& state : speed.performanceStates) {
        states.push_back({{"state", state.number}, {"hertz", state.hertz}});
    }
    return {{"tscHertz", orNull(speed.tscHertz)},
            {"busClockHertz", orNull(speed.busClockHertz)},
            {"multiplier",
             {{"current", orNull(speed.current.multiplier)},
              {"effective", orNull(speed.effective.multiplier)},
              {"lowest", orNull(speed.lowest.multiplier)},
              {"highest", orNull(speed.base.multiplier)}}},
            {"hertz",
             {{"current", orNull(speed.current.hertz)},
              {"effective", orNull(speed.effective.hertz)},
              {"lowest", orNull(speed.lowest.hertz)},
              {"highest", orNull(speed.base.hertz)}}},
            {"turbo", {{"ratio", orNull(speed.turbo.multiplier)}, {"hertz", orNull(speed.turbo.hertz)}}},
            {"performanceStates", states.empty() ? ordered_json() : states},
            {"system",
             {{"lowestHertz", orNull(speed.system.lowestHertz)},
              {"baseHertz", orNull(speed.system.baseHertz)},
              {"highestHertz", orNull(speed.system.highestHertz)}}}};
}

ordered_json limitsJson(const ProcessorLimits& limits) {
    ordered_json ratios;
    for (const auto& turbo : limits.turboRatios) {
        ratios.push_back({{"activeCores", turbo.activeCores}, {"ratio", turbo.ratio}});
    }
    ordered_json levels;
    if (limits.levels) {
        levels = {{"highest", limits.levels->highest},
                  {"guaranteed", limits.levels->guaranteed},
                  {"efficient", limits.levels->efficient},
                  {"lowest", limits.levels->lowest}};
    }
    return {{"tccActivationCelsius", orNull(limits.throttleCelsius)},
            {"tccOffsetCelsius", orNull(limits.throttleOffsetCelsius)},
            {"turboRatios", ratios},
            {"performanceLevels", levels}};
}

ordered_json processorJson(const Processor& processor) {
    const ProcessorIdentity& identity = *processor.identity;
    const ProcessorNames names = namesOf(processor);
    ordered_json caches = ordered_json::array();
    for (const Processor::CacheUse& use : processor.caches) {
        caches.push_back(use.cache);
    }
    ordered_json element = {{"logicalCpuNumber", processor.number},
                            {"affinity", affinityText(processor)},
                            {"apicId", orNull(processor.apicId)},
                            {"package", processor.package},
                            {"die", orNull(processor.die)},
                            {"complex", orNull(processor.complex)},
                            {"module", orNull(processor.module)},
                            {"core", processor.core},
                            {"thread", processor.thread},
                            {"numaNode", orNull(processor.numaNode)},
                            {"kind", kindJson(processor.kind)},
                            {"vendor", identity.vendor},
                            {"name", brandJson(identity)},
                            {"family", identity.family},
                            {"model", identity.model},
                            {"stepping", identity.stepping},
                            {"signature", identity.signature},
                            {"signatureFields", signatureFieldsJson(identity)},
                            {"revision", orNull(names.revision)},
                            {"packageName", orNull(names.package)},
                            {"microcode", orNull(processor.microcode)},
                            {"microarchitecture", orNull(names.microarchitecture)},
                            {"codename", orNull(names.codename)},
                            {"process", orNull(names.process)},
                            {"level", orNull(identity.level)},
                            {"avx10", avx10Json(identity)},
                            {"features", identity.features.names()},
                            {"usable", identity.usable.names()},
                            {"physicalAddressBits", orNull(identity.physicalAddressBits)},
                            {"linearAddressBits", orNull(identity.linearAddressBits)},
                            {"caches", caches}};
    if (processor.speed != nullptr) {
        element["speed"] = speedJson(*processor.speed);
    }
    if (processor.limits != nullptr) {
        element["limits"] = limitsJson(*processor.limits);
    }
    return element;
}

ordered_json sharedByJson(const Cache& cache) {
    if (!cache.sharedBy) {
        return nullptr;
    }
    ordered_json sets = ordered_json::array();
    for (const ProcessorSet& processors : *cache.sharedBy) {
        sets.push_back(numbersJson(processors));
    }
    return sets;
}

ordered_json cacheJson(const Cache& cache) {
    const auto& figures = cache.figures;
    const bool trace = figures.type == topology::CacheType::trace;
    return {{"level", "L" + std::to_string(figures.level)},
            {"type", nameOf(figures.type)},
            {"sizeBytes", trace ? ordered_json() : ordered_json(figures.sizeBytes)},
            {"sizeMicroOps", trace ? ordered_json(figures.sizeBytes) : ordered_json()},
            {"ways", orNull(figures.ways)},
            {"lineSizeBytes", figures.lineSizeBytes == 0 ? ordered_json() : ordered_json(figures.lineSizeBytes)},
            {"sets", orNull(figures.sets)},
            {"inclusive", orNull(figures.inclusive)},
            {"instances", orNull(cache.instances())},
            {"sharedBy", sharedByJson(cache)}};
}

ordered_json tlbJson(const Tlb& tlb) {
    const auto& figures = tlb.figures;
    return {{"level", "L" + std::to_string(figures.level)},
            {"type", nameOf(figures.type)},
            {"pageSizes", figures.pageSizes.list()},
            {"entries", figures.entries},
            {"ways", orNull(figures.ways)},
            {"processors", numbersJson(tlb.processors)}};
}

template <class Values, class ToJson>
ordered_json arrayOf(const Values& values, ToJson toJson) {
    ordered_json list = ordered_json::array();
    for (const auto& value : values) {
        list.push_back(toJson(value));
    }
    return list;
}

} // namespace

ordered_json emptyDocument(const std::optional<std::string>& machineFile) {
    const std::string native = "native"; // this machine, which is no recording
    ordered_json document = {{"quarrow", QUARROW_VERSION}, {"machine", machineFile.value_or(native)}};
    if (machineFile == native) {
        document["recorded"] = true; // a file of that name
    }
    return document;
}

ordered_json machineDocument(const Topology& topology, const std::vector<const Processor*>& processors,
                             const std::optional<std::string>& machineFile) {
    ordered_json document = emptyDocument(machineFile);
    document["document"] = documentVersion;
    document["summary"] = summaryJson(topology);
    document["processors"] = arrayOf(processors, [](const Processor* processor) { return processorJson(*processor); });
    document["caches"] = arrayOf(topology.caches(), cacheJson);
    document["tlbs"] = arrayOf(topology.tlbs(), tlbJson);
    return document;
}

ordered_json machineDocument(const Topology& topology, const std::optional<std::string>& machineFile) {
    std::vector<const Processor*> all;
    for (const Processor& processor : topology.processors()) {
        all.push_back(&processor);
    }
    return machineDocument(topology, all, machineFile);
}

std::string documentText(const ordered_json& document) {
    return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::optional<std::uint32_t> levelOfAll(const Topology& topology) {
    std::uint32_t lowest = 4;
    for (const Processor& processor : topology.processors()) {
        lowest = std::min(lowest, processor.identity->level.value_or(0));
    }
    return lowest == 0 ? std::nullopt : std::make_optional(lowest);
}

} // namespace libQuarrow::document
