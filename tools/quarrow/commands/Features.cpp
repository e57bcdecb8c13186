#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>

namespace quarrow {
namespace {

std::string ifAny(const char* label, const std::string& value, std::size_t columns) {
    return value.empty() ? std::string() : paragraph(label, value, columns);
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
             return paragraph("Level", orNone(levelText(identity.level)), columns) +
                    ifAny("AVX10", avx10Text(identity.avx10), columns) +
                    paragraph("Has", orNone(featureNames(identity.features)), columns) +
                    paragraph("Programs can use", orNone(featureNames(identity.usable)), columns) +
                    ifAny("  after asking", permissionText(identity.usable), columns);
         })) {
        text +=
            (text.empty() ? "" : "\n") + paragraph("Logical CPUs", group.numbers.toList(), columns) + group.description;
    }
    return text;
}

} // namespace quarrow
