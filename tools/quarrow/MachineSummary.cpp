#include <tools/quarrow/MachineSummary.h>

#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/topology/ProcessorAffinity.h>
#include <libQuarrow/topology/features/isa.h>
#include <libQuarrow/topology/names/ProcessorNames.h>

#include <algorithm>
#include <map>

namespace quarrow {

using libQuarrow::topology::Cache;
using libQuarrow::topology::CoreKind;
using libQuarrow::topology::Feature;
using libQuarrow::topology::FeatureSet;
using libQuarrow::topology::ProcessorNames;
namespace isa = libQuarrow::topology::isa;

namespace {

std::vector<const Processor*> allOf(const Topology& topology) {
    return namedProcessors(topology, {});
}

// "Alder Lake (Golden Cove), Intel 7"
std::string whatItIs(const Processor& processor) {
    const ProcessorNames names = libQuarrow::topology::namesOf(processor);
    const std::string architecture(names.microarchitecture);
    const std::string codename(names.codename);
    const bool oneName = architecture == codename || codename.empty();
    const std::string name = architecture.empty() ? codename
                             : oneName            ? architecture
                                                  : codename + " (" + architecture + ")";
    return joined({name, std::string(names.process)});
}

// The same for all, or for each of the sets that differ: "... on 0-7; ... on 8-15".
std::string toldBySet(const Topology& topology, const std::function<std::string(const Processor&)>& describe) {
    const std::vector<AlikeProcessors> groups = alikeProcessors(allOf(topology), describe);
    if (groups.size() == 1) {
        return groups.front().description;
    }
    std::vector<std::string> parts;
    for (const AlikeProcessors& group : groups) {
        if (!group.description.empty()) {
            parts.push_back(group.description + " on " + group.numbers.toList());
        }
    }
    return joined(parts, "; ");
}

// A level is worth a word where a package has several of its objects.
std::string countOfLevel(const Topology& topology, const std::vector<ProcessorSet>& objects, const char* singular,
                         const char* plural) {
    return objects.size() > topology.packages().size() ? counted(objects.size(), singular, plural) : std::string();
}

std::string built(const Topology& topology) {
    const auto& modules = topology.modules();
    const bool manyInEach = std::all_of(modules.begin(), modules.end(), [&topology](const ProcessorSet& module) {
        return topology.oneThreadPerCore(module).count() > 1;
    });
    const bool sameAsDies = topology.complexes().size() == topology.dies().size();
    return joined({counted(topology.packages().size(), "package"),
                   countOfLevel(topology, topology.dies(), "die", "dies"),
                   sameAsDies ? std::string() : countOfLevel(topology, topology.complexes(), "complex", "complexes"),
                   manyInEach ? countOfLevel(topology, modules, "module", "modules") : std::string(),
                   counted(topology.cores().size(), "core"), counted(topology.processors().size(), "thread")});
}

// "8 cores, 16 threads: 0-15 (Golden Cove)" for each kind.
std::vector<SummaryLine> kinds(const Topology& topology) {
    std::vector<SummaryLine> lines;
    for (const CoreKind kind : {CoreKind::performance, CoreKind::efficient, CoreKind::lowPower}) {
        const ProcessorSet processors = topology.ofKind(kind);
        if (processors.empty()) {
            continue;
        }
        const ProcessorNames names = libQuarrow::topology::namesOf(*topology.find(*processors.first()));
        std::string value = counted(topology.oneThreadPerCore(processors).count(), "core") + ", " +
                            counted(processors.count(), "thread") + ": " + processors.toList();
        if (!names.microarchitecture.empty()) {
            value += " (" + std::string(names.microarchitecture) + ")";
        }
        lines.push_back({std::string("  ") + nameOf(kind), value});
    }
    return lines;
}

// Extensions beyond the levels that programs are built for, with the names that people know them by.
struct Extension {
    const char* name;
    Feature feature;
};
constexpr Extension extensions[] = {
    {"AES", isa::aes},          {"SHA", isa::sha},          {"AVX-VNNI", isa::avx_vnni}, {"AVX-512", isa::avx512f},
    {"VNNI", isa::avx512_vnni}, {"BF16", isa::avx512_bf16}, {"FP16", isa::avx512_fp16},  {"AVX10", isa::avx10},
    {"AMX", isa::amx_tile},     {"APX", isa::apx},
};

std::string extensionsOf(const FeatureSet& usable, std::uint32_t avx10Version) {
    std::vector<std::string> names;
    for (const Extension& extension : extensions) {
        if (usable.contains(extension.feature)) {
            const bool versioned = extension.feature.name == isa::avx10.name && avx10Version != 0;
            names.push_back(extension.name + (versioned ? "." + std::to_string(avx10Version) : std::string()));
        }
    }
    return joined(names);
}

std::string levelName(const std::optional<std::uint32_t>& level) {
    return level ? levelText(level) : "no x86-64 level";
}

// 0 where a processor does not tell one.
std::uint32_t lowestAvx10(const Topology& topology) {
    std::uint32_t lowest = ~0U;
    for (const Processor& processor : topology.processors()) {
        const auto& avx10 = processor.identity->avx10;
        lowest = std::min(lowest, avx10 ? avx10->version : 0);
    }
    return lowest;
}

// What every processor runs; where they differ, who holds the others back.
std::string runs(const Topology& topology) {
    const auto& first = *topology.processors().front().identity;
    std::uint32_t lowest = first.level.value_or(0);
    std::uint32_t highest = lowest;
    FeatureSet common = first.usable;
    ProcessorSet holders;
    for (const Processor& processor : topology.processors()) {
        const std::uint32_t level = processor.identity->level.value_or(0);
        if (level < lowest) {
            lowest = level;
            holders = ProcessorSet();
        }
        if (level == lowest) {
            holders.insert(processor.number);
        }
        highest = std::max(highest, level);
        common = common & processor.identity->usable;
    }
    std::string text = levelName(lowest == 0 ? std::nullopt : std::make_optional(lowest));
    if (lowest != highest) {
        text += " (" + holders.toList() + "; the others " + levelName(highest) + ")";
    }
    return joined({text, extensionsOf(common, lowestAvx10(topology))}, "; ");
}

// "8 x 48 KB + 8 x 32 KB" for each name, in the order of levels; in each the caches of the lowest processors first.
std::vector<SummaryLine> caches(const Topology& topology) {
    std::vector<std::string> order;
    std::map<std::string, std::map<std::uint32_t, std::string>> sizes; // by name, then by lowest processor
    for (const Cache& cache : topology.caches()) {
        const std::string name = cacheName(cache.figures);
        if (sizes.count(name) == 0) {
            order.push_back(name);
        }
        const std::size_t instances = cache.instances().value_or(0); // 0: not known
        const std::string times = instances == 0 ? "? x " : instances == 1 ? "" : std::to_string(instances) + " x ";
        std::string& text = sizes[name][cache.processors.first().value_or(0)];
        text = joined({text, times + cacheSize(cache.figures)}, " + ");
    }
    std::vector<SummaryLine> lines;
    for (const std::string& name : order) {
        std::string value;
        for (const auto& [processor, size] : sizes[name]) {
            value = joined({value, size}, " + ");
        }
        lines.push_back({name + (name.size() == 2 ? " cache" : ""), value});
    }
    return lines.empty() ? std::vector<SummaryLine>{{"Caches", "not known"}} : lines;
}

std::string numa(const Topology& topology) {
    std::vector<std::string> nodes;
    for (const auto& node : topology.numaNodes()) {
        nodes.push_back("node " + std::to_string(node.number) + ": " +
                        (node.processors.empty() ? std::string("no processors") : node.processors.toList()));
    }
    constexpr std::size_t mostListed = 4;
    if (nodes.size() <= 1 || nodes.size() > mostListed) {
        return counted(nodes.size(), "node");
    }
    return counted(nodes.size(), "node") + "; " + joined(nodes, "; ");
}

std::string allowed(const Topology& topology) {
    const auto process = libQuarrow::cpu::AffinityMask::processAffinityMask();
    if (!process) {
        return "not known";
    }
    const ProcessorSet all = topology.all();
    const ProcessorSet mine = processorsOf(*process, topology.numbering()) & all;
    return mine == all ? "all logical processors, " + all.toList()
                       : mine.toList() + " of " + all.toList() + " (this process)";
}

} // namespace

std::vector<SummaryLine> summaryOf(const Topology& topology, bool isRecorded) {
    std::vector<SummaryLine> lines;
    const auto append = [&lines](const std::vector<SummaryLine>& more) {
        lines.insert(lines.end(), more.begin(), more.end());
    };
    lines.push_back({"Processor", toldBySet(topology, [](const Processor& p) { return processorName(*p.identity); })});
    const bool hybrid = std::any_of(topology.processors().begin(), topology.processors().end(),
                                    [](const Processor& processor) { return processor.kind.has_value(); });
    const std::string what = hybrid ? whatItIs(topology.processors().front()) : toldBySet(topology, whatItIs);
    if (!what.empty()) {
        lines.push_back({"What it is", what});
    }
    lines.push_back({"Built as", built(topology)});
    append(kinds(topology));
    lines.push_back({"Runs", runs(topology)});
    append(caches(topology));
    if (!topology.numaNodes().empty()) {
        lines.push_back({"NUMA", numa(topology)});
    }
    const std::string hypervisor = hypervisorName(*topology.processors().front().identity);
    if (!hypervisor.empty()) {
        lines.push_back({"Hypervisor", hypervisor});
    }
    const std::string microcode = toldBySet(topology, [](const Processor& p) { return microcodeText(p.microcode); });
    if (!microcode.empty()) {
        lines.push_back({"Microcode", microcode});
    }
    if (!isRecorded) {
        lines.push_back({"Allowed", allowed(topology)});
    }
    return lines;
}

} // namespace quarrow
