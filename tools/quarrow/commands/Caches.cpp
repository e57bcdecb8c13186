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

std::string described(const CacheFigures& figures, const std::optional<std::size_t>& instances) {
    const std::string times = instances && *instances > 1 ? std::to_string(*instances) + " x " : "";
    return joined({times + cacheSize(figures), waysText(figures.ways),
                   figures.lineSizeBytes == 0 ? std::string() : counted(figures.lineSizeBytes, "byte") + " per line",
                   figures.sets ? counted(static_cast<std::size_t>(*figures.sets), "set") : std::string(),
                   figures.inclusive.value_or(false) ? "inclusive" : ""});
}

std::string described(const TlbFigures& figures) {
    return joined(
        {counted(figures.entries, "entry", "entries"), waysText(figures.ways), pageSizesText(figures) + " pages"});
}

} // namespace

std::string cacheReport(const Topology& topology, std::size_t columns) {
    std::string text;
    for (const Cache& cache : topology.caches()) {
        text += paragraph(cacheName(cache.figures), described(cache.figures, cache.instances()), columns) +
                paragraph("  logical CPUs", sharersText(cache), columns);
    }
    return text.empty() ? "Caches: not known\n" : text;
}

std::string tlbReport(const Topology& topology, std::size_t columns) {
    const ProcessorSet all = topology.all();
    std::string text;
    for (const Tlb& tlb : topology.tlbs()) {
        const std::string whose = tlb.processors == all ? "" : " (on " + tlb.processors.toList() + ")";
        text += paragraph(tlbName(tlb.figures), described(tlb.figures) + whose, columns);
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
