#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>

namespace quarrow {
namespace {

std::string names(const libQuarrow::topology::FeatureSet& features) {
    std::string text;
    for (const std::string_view name : features.names()) {
        text += (text.empty() ? "" : " ") + std::string(name);
    }
    return text.empty() ? "none" : text;
}

} // namespace

std::string featuresCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    const Topology topology = readTopology(request);
    const std::size_t columns = outputColumns();
    std::string text;
    for (const AlikeProcessors& group :
         alikeProcessors(namedProcessors(topology, {}), [columns](const Processor& processor) {
             const auto& identity = *processor.identity;
             const auto level = identity.level;
             return paragraph("Level", level ? "x86-64-v" + std::to_string(*level) : "none", columns) +
                    paragraph("Has", names(identity.features), columns) +
                    paragraph("Programs can use", names(identity.usable), columns);
         })) {
        text +=
            (text.empty() ? "" : "\n") + paragraph("Logical CPUs", group.numbers.toList(), columns) + group.description;
    }
    return text;
}

} // namespace quarrow
