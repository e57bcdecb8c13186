#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/CacheReport.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>

namespace quarrow {

using libQuarrow::topology::Cache;
using libQuarrow::topology::CacheFigures;
using libQuarrow::topology::Tlb;
using libQuarrow::topology::TlbFigures;

namespace {

std::string ways(const std::optional<std::uint32_t>& count) {
    if (!count) {
        return {};
    }
    return *count == 0 ? "fully associative" : *count == 1 ? "direct mapped" : std::to_string(*count) + "-way";
}

std::string described(const CacheFigures& figures, const std::optional<std::size_t>& instances) {
    const std::string times = instances && *instances > 1 ? std::to_string(*instances) + " x " : "";
    return joined({times + cacheSize(figures), ways(figures.ways),
                   figures.lineSizeBytes == 0 ? std::string() : counted(figures.lineSizeBytes, "byte") + " per line",
                   figures.sets ? counted(static_cast<std::size_t>(*figures.sets), "set") : std::string(),
                   figures.inclusive.value_or(false) ? "inclusive" : ""});
}

std::string sharers(const Cache& cache) {
    if (!cache.sharedBy) {
        return "who shares it is not known";
    }
    std::vector<std::string> sets;
    for (const ProcessorSet& processors : *cache.sharedBy) {
        sets.push_back(processors.toList());
    }
    return joined(sets, " | ");
}

std::string described(const TlbFigures& figures) {
    std::vector<std::string> pages;
    for (const std::uint64_t size : figures.pageSizes) {
        pages.push_back(sizeText(size));
    }
    return joined({counted(figures.entries, "entry", "entries"), ways(figures.ways), joined(pages, " or ") + " pages"});
}

} // namespace

std::string cacheReport(const Topology& topology, std::size_t columns) {
    std::string text;
    for (const Cache& cache : topology.caches()) {
        text += paragraph(cacheName(cache.figures), described(cache.figures, cache.instances()), columns) +
                paragraph("  logical CPUs", sharers(cache), columns);
    }
    return text.empty() ? "Caches: not known\n" : text;
}

std::string tlbReport(const Topology& topology, std::size_t columns) {
    const ProcessorSet all = topology.all();
    std::string text;
    for (const Tlb& tlb : topology.tlbs()) {
        const std::string name = "L" + std::to_string(tlb.figures.level) + " " + nameOf(tlb.figures.type) + " TLB";
        const std::string whose = tlb.processors == all ? "" : " (on " + tlb.processors.toList() + ")";
        text += paragraph(name, described(tlb.figures) + whose, columns);
    }
    return text;
}

std::string cachesCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    const Topology topology = readTopology(request);
    const std::size_t columns = outputColumns();
    const std::string tlbs = tlbReport(topology, columns);
    return cacheReport(topology, columns) + (tlbs.empty() ? "" : "\n" + tlbs);
}

} // namespace quarrow
