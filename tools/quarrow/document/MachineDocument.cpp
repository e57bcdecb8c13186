#include <tools/quarrow/document/MachineDocument.h>

#include <tools/quarrow/Document.h>
#include <tools/quarrow/TopologyReading.h>

#include <libQuarrow/document/MachineDocument.h>

namespace quarrow {

std::string machineDocument(const Request& request) {
    return machineDocument(request, readTopology(request));
}

std::string machineDocument(const Request& request, const Topology& topology) {
    return documentText(libQuarrow::document::machineDocument(topology, namedProcessors(topology, request.operands),
                                                              machineName(request)));
}

} // namespace quarrow
