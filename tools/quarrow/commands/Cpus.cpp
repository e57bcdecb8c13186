#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>

#include <libQuarrow/topology/names/ProcessorNames.h>
#include <zel/String.h>

namespace quarrow {

using libQuarrow::topology::ProcessorIdentity;
using libQuarrow::topology::ProcessorNames;

namespace {

class Report {
  public:
    explicit Report(std::size_t columns) : m_columns(columns) {}

    // Nothing for what is not known.
    void add(const char* label, const std::string& value) {
        if (!value.empty()) {
            m_text += paragraph(label, value, m_columns);
        }
    }
    const std::string& text() const { return m_text; }

  private:
    std::size_t m_columns;
    std::string m_text;
};

std::string numbered(const char* level, const std::optional<std::uint32_t>& number) {
    return number ? std::string(level) + " " + std::to_string(*number) : std::string();
}

std::string place(const Processor& processor) {
    return joined({numbered("package", processor.package), numbered("die", processor.die),
                   numbered("complex", processor.complex), numbered("module", processor.module),
                   numbered("core", processor.core), numbered("thread", processor.thread),
                   numbered("NUMA node", processor.numaNode)});
}

std::string signature(const ProcessorIdentity& identity) {
    if (identity.signature == 0) {
        return {};
    }
    return zel::String::SprintfFormat("%08Xh: family %Xh (%X+%X), model %Xh (%X:%X), stepping %u", identity.signature,
                                      identity.family, identity.baseFamily(), identity.extendedFamily(), identity.model,
                                      identity.extendedModel(), identity.baseModel(), identity.stepping)
        .toUtf8();
}

std::string caches(const Topology& topology, const Processor& processor) {
    std::vector<std::string> texts;
    for (const Processor::CacheUse& use : processor.caches) {
        const auto& cache = topology.caches()[use.cache];
        std::string text = cacheName(cache.figures) + " " + cacheSize(cache.figures);
        if (use.instance) {
            ProcessorSet others = (*cache.sharedBy)[*use.instance];
            others -= ProcessorSet{processor.number};
            text += others.empty() ? "" : " with " + others.toList();
        }
        texts.push_back(text);
    }
    return joined(texts, "; ");
}

std::string addresses(const ProcessorIdentity& identity) {
    const auto told = [](const std::optional<std::uint32_t>& count, const char* what) {
        return count ? std::to_string(*count) + " bits " + what : std::string();
    };
    return joined({told(identity.physicalAddressBits, "physical"), told(identity.linearAddressBits, "linear")});
}

std::string described(const Topology& topology, const Processor& processor, std::size_t columns) {
    const ProcessorIdentity& identity = *processor.identity;
    const ProcessorNames known = libQuarrow::topology::namesOf(processor);
    Report report(columns);
    report.add("Logical CPU", std::to_string(processor.number));
    report.add("Name", processorName(identity));
    report.add("Maker", identity.vendor);
    report.add("Microarchitecture", std::string(known.microarchitecture));
    report.add("Codename", std::string(known.codename));
    report.add("Process", std::string(known.process));
    report.add("Kind", processor.kind ? nameOf(*processor.kind) : "");
    report.add("Signature", signature(identity));
    report.add("Revision", std::string(known.revision));
    report.add("Package", std::string(known.package));
    report.add("Microcode", microcodeText(processor.microcode));
    report.add("Affinity", affinityText(processor));
    report.add("APIC ID", processor.apicId
                              ? zel::String::SprintfFormat("%u (%Xh)", *processor.apicId, *processor.apicId).toUtf8()
                              : std::string());
    report.add("Place", place(processor));
    report.add("Caches", caches(topology, processor));
    report.add("Addresses", addresses(identity));
    report.add("Hypervisor", hypervisorName(identity));
    report.add("Level", levelText(identity.level));
    report.add("AVX10", avx10Text(identity.avx10));
    report.add("Features", featureNames(identity.features));
    report.add("Programs can use", featureNames(identity.usable));
    report.add("  after asking", permissionText(identity.usable));
    return report.text();
}

} // namespace

std::string cpusCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    const Topology topology = readTopology(request);
    const std::size_t columns = outputColumns();
    std::string text;
    for (const Processor* processor : namedProcessors(topology, request.operands)) {
        text += (text.empty() ? "" : "\n") + described(topology, *processor, columns);
    }
    return text;
}

} // namespace quarrow
