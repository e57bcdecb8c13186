#include <tools/quarrow/document/MachineDocument.h>

#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>

#include <libQuarrow/document/MachineDocument.h>

#include <map>

namespace quarrow {

using nlohmann::ordered_json;

namespace {

// Adds the section to the elements of the processors that it is about.
void addSection(const Request& request, const Section& section, const std::vector<const Processor*>& processors,
                ordered_json& elements) {
    std::map<std::string, std::size_t> places;
    for (const Processor* processor : processors) {
        places.emplace(affinityText(*processor), places.size());
    }
    readMachine(
        request,
        [&](const libQuarrow::cpu::x86_cpu& cpu) {
            const auto place = places.find(cpu.getAffinityMask().toString().toUtf8());
            if (place != places.end()) {
                section.add(cpu, elements[place->second]);
            }
        },
        section.doing);
}

} // namespace

std::string machineDocument(const Request& request, const Section& section) {
    const Topology topology = readTopology(request);
    const std::vector<const Processor*> named = namedProcessors(topology, request.operands);
    ordered_json document = libQuarrow::document::machineDocument(topology, named, machineName(request));
    if (section.add) {
        addSection(request, section, named, document["processors"]);
    }
    return documentText(document);
}

} // namespace quarrow
