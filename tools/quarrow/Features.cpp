#include <tools/quarrow/Commands.h>
#include <tools/quarrow/Document.h>
#include <tools/quarrow/Processors.h>
#include <tools/quarrow/Text.h>

#include <algorithm>

namespace quarrow {

using libQuarrow::cpu::x86_cpu;

namespace {

bool sameFeatures(const x86_cpu& a, const x86_cpu& b) {
    return a.supportedFeatures() == b.supportedFeatures() && a.allowedFeatures() == b.allowedFeatures();
}

} // namespace

std::string featuresCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    const zel::Array<x86_cpu> processors = readProcessors(request);
    // Processors with the same features, in the order of their first ones.
    std::vector<std::vector<const x86_cpu*>> groups;
    for (const x86_cpu& cpu : processors) {
        const auto group = std::find_if(groups.begin(), groups.end(),
                                        [&cpu](const auto& members) { return sameFeatures(*members.front(), cpu); });
        if (group != groups.end()) {
            group->push_back(&cpu);
        } else {
            groups.push_back({&cpu});
        }
    }
    std::string text;
    for (const auto& members : groups) {
        text += text.empty() ? "" : "\n";
        text += line("Logical CPUs", numberRanges(members));
        text += line("Supported features", members.front()->supportedFeatures().toString());
        text += line("Allowed features", members.front()->allowedFeatures().toString());
    }
    return text;
}

} // namespace quarrow
