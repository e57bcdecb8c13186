#include <tools/quarrow/page/MachinePage.h>

#include <tools/quarrow/LeafTable.h>
#include <tools/quarrow/MachineSummary.h>
#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/page/Page.h>
#include <tools/quarrow/picture/TopologyPicture.h>

namespace quarrow {

using libQuarrow::topology::Cache;
using libQuarrow::topology::FeatureSet;
using libQuarrow::topology::Tlb;

namespace {

using Rows = std::vector<std::vector<std::string>>;

std::string orDash(const std::optional<std::uint32_t>& number) {
    return number ? std::to_string(*number) : "-";
}

std::string summarySection(const Topology& topology, const std::string& fileName) {
    Rows rows;
    for (const SummaryLine& line : summaryOf(topology, !fileName.empty())) {
        rows.push_back({line.label, line.value});
    }
    if (!fileName.empty()) {
        rows.push_back({"Recorded in", fileName});
    }
    for (const auto& processor : topology.leftOut()) {
        rows.push_back({"Left out", "processor " + std::to_string(processor.number) + ": " + processor.reason});
    }
    return htmlSection("summary", "Summary", htmlTable({"", ""}, rows));
}

std::string pictureSection(const Topology& topology) {
    return htmlSection("picture", "Picture",
                       "<div class=\"picture wide\">\n" + drawSvgElement(pictureOf(topology)) + "</div>\n");
}

std::string cacheSection(const Topology& topology) {
    Rows rows;
    for (const Cache& cache : topology.caches()) {
        const auto& figures = cache.figures;
        rows.push_back({cacheName(figures), cacheSize(figures),
                        cache.instances() ? std::to_string(*cache.instances()) : "-", waysText(figures.ways),
                        figures.lineSizeBytes == 0 ? "-" : std::to_string(figures.lineSizeBytes),
                        figures.sets ? std::to_string(*figures.sets) : "-", sharersText(cache)});
    }
    const std::string caches =
        rows.empty() ? "<p>The machine tells of no caches.</p>\n"
                     : htmlTable({"Cache", "#Size", "#Instances", "Ways", "#Line", "#Sets", "Shared by"}, rows);
    rows.clear();
    for (const Tlb& tlb : topology.tlbs()) {
        rows.push_back({tlbName(tlb.figures), std::to_string(tlb.figures.entries), waysText(tlb.figures.ways),
                        pageSizesText(tlb.figures), tlb.processors.toList()});
    }
    return htmlSection("caches", "Caches", caches) +
           (rows.empty() ? std::string()
                         : htmlSection("tlbs", "TLBs", htmlTable({"TLB", "#Entries", "Ways", "Pages", "On"}, rows)));
}

std::string processorSection(const Topology& topology) {
    Rows rows;
    for (const Processor& processor : topology.processors()) {
        rows.push_back({std::to_string(processor.number), std::to_string(processor.package), orDash(processor.die),
                        orDash(processor.complex), orDash(processor.module), std::to_string(processor.core),
                        std::to_string(processor.thread), orDash(processor.numaNode),
                        processor.kind ? nameOf(*processor.kind) : "-", orDash(processor.apicId),
                        affinityText(processor)});
    }
    return htmlSection("processors", "Processors",
                       htmlTable({"#CPU", "#Package", "#Die", "#Complex", "#Module", "#Core", "#Thread", "#NUMA node",
                                  "Kind", "#APIC ID", "Affinity"},
                                 rows));
}

// What each set of like processors has: each flag with what it says, those that programs can use marked.
std::string featureSection(const Topology& topology) {
    std::string html = "<p class=\"soft\"><span class=\"key\"></span> can be used by programs. Point at a name to see "
                       "what it says.</p>\n" +
                       htmlSearch("Search features", ".feature");
    const auto groups = alikeProcessors(namedProcessors(topology, {}), [](const Processor& processor) {
        const auto& identity = *processor.identity;
        const std::string level = levelText(identity.level);
        std::string list = (level.empty() ? "" : "<p>Level: " + level + "</p>\n") + "<ul class=\"chips\">\n";
        for (const std::string_view name : identity.features.names()) {
            const bool usable = identity.usable.contains(name);
            const std::string meaning(FeatureSet::meaningOf(name));
            list += std::string("<li class=\"feature") + (usable ? " usable" : "") + "\" title=\"" + htmlText(meaning) +
                    "\">" + htmlText(std::string(name)) + "</li>\n";
        }
        return list + "</ul>\n";
    });
    for (const AlikeProcessors& group : groups) {
        html += groups.size() == 1 ? std::string() : "<h3>CPUs " + group.numbers.toList() + "</h3>\n";
        html += group.description;
    }
    return htmlSection("features", "Features", html);
}

// Every leaf, folded; like processors once.
std::string leafSection(const Topology& topology) {
    std::vector<const libQuarrow::topology::ProcessorLeaves*> processors;
    for (const Processor& processor : topology.processors()) {
        processors.push_back(processor.leaves.get());
    }
    std::string html = htmlSearch("Search leaves: fields, values, meanings", ".leaf tbody tr");
    for (const SharedLeaf& leaf : sharedLeaves(processors, std::nullopt)) {
        Rows rows;
        for (const FieldLine& line : fieldLines(leaf)) {
            rows.push_back({line.place, line.name, line.value, line.meaning, line.who});
        }
        const std::string title = leaf.title.empty() ? "not known" : leaf.title;
        html += htmlElement(
            "details", "leaf",
            "<summary><code>" + leafName(leaf) + "</code>" + htmlText(title) + "</summary>\n<p><code>" +
                htmlText(registersText(leaf)) + "</code></p>\n" +
                (rows.empty() ? std::string() : htmlTable({"Bits", "Field", "Value", "Meaning", "Whose"}, rows)));
        html += "\n";
    }
    return htmlSection("leaves", "CPUID leaves", html);
}

} // namespace

std::string machinePage(const Topology& topology, const std::string& fileName) {
    return htmlPage(processorName(*topology.processors().front().identity),
                    summarySection(topology, fileName) + pictureSection(topology) + cacheSection(topology) +
                        featureSection(topology) + processorSection(topology) + leafSection(topology));
}

} // namespace quarrow
