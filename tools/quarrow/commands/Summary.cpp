#include <tools/quarrow/MachineSummary.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>

namespace quarrow {

std::string summaryCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    const std::size_t columns = outputColumns();
    std::string text;
    for (const SummaryLine& line : summaryOf(readTopology(request), request.isRecorded())) {
        text += paragraph(line.label, line.value, columns);
    }
    text += "\n";
    for (const zel::String& part :
         wrapped("More: quarrow tree, cpus, features, caches, picture; all: quarrow --help", columns)) {
        text += part.toUtf8() + "\n";
    }
    return text;
}

} // namespace quarrow
