#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/CacheReport.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>

namespace quarrow {
namespace {

// A level of the tree: what it is called, and which object of it a processor belongs to.
struct Level {
    const char* name;
    const std::vector<ProcessorSet>& (Topology::*objects)() const;
    std::optional<std::uint32_t> (*of)(const Processor&);
};

constexpr Level levels[] = {
    {"Package", &Topology::packages, [](const Processor& p) { return std::make_optional(p.package); }},
    {"Die", &Topology::dies, [](const Processor& p) { return p.die; }},
    {"Complex", &Topology::complexes, [](const Processor& p) { return p.complex; }},
    {"Module", &Topology::modules, [](const Processor& p) { return p.module; }},
    {"Core", &Topology::cores, [](const Processor& p) { return std::make_optional(p.core); }},
};
constexpr std::size_t packageLevel = 0;
constexpr std::size_t coreLevel = std::size(levels) - 1;

// Whether the level divides what is above it anywhere: a die a package is no line of its own.
bool divides(const Topology& topology, std::size_t level) {
    const std::size_t objects = (topology.*levels[level].objects)().size();
    return level == packageLevel || level == coreLevel ||
           (objects > topology.packages().size() && objects < topology.cores().size());
}

std::string titleOf(const Topology& topology, std::size_t level, std::uint32_t number, const ProcessorSet& processors) {
    const Processor& first = *topology.find(*processors.first());
    std::string title = std::string(levels[level].name) + " " + std::to_string(number);
    if (level == packageLevel) {
        return title + ": " + processorName(*first.identity);
    }
    if (level != coreLevel) {
        return title;
    }
    title += first.kind ? std::string(" (") + nameOf(*first.kind) + ")" : "";
    return title + ": " + (processors.count() == 1 ? "CPU " : "CPUs ") + processors.toList();
}

void append(std::string& text, const Topology& topology, std::size_t level, const ProcessorSet& within,
            std::size_t indent) {
    while (level < coreLevel && !divides(topology, level)) {
        ++level;
    }
    std::optional<std::uint32_t> before;
    for (const std::uint32_t number : topology.oneThreadPerCore(within)) {
        const std::optional<std::uint32_t> object = levels[level].of(*topology.find(number));
        if (!object || object == before) {
            continue;
        }
        before = object;
        const ProcessorSet processors = (topology.*levels[level].objects)()[*object] & within;
        if (*processors.first() != number) {
            continue; // told where its first core was
        }
        const bool oneCore = level != packageLevel && topology.oneThreadPerCore(processors).count() == 1;
        const std::size_t shown = oneCore ? coreLevel : level; // what holds but one core is that core
        const std::uint32_t shownNumber = oneCore ? topology.find(number)->core : *object;
        text += std::string(indent, ' ') + titleOf(topology, shown, shownNumber, processors) + "\n";
        if (shown < coreLevel) {
            append(text, topology, level + 1, processors, indent + 2);
        }
    }
}

} // namespace

std::string treeCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    const Topology topology = readTopology(request);
    std::string text;
    append(text, topology, packageLevel, topology.all(), 0);
    return text + "\n" + cacheReport(topology, outputColumns());
}

} // namespace quarrow
