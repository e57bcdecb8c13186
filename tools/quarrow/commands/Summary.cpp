#include <tools/quarrow/MachineSummary.h>
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
    return text + "\nMore: quarrow tree, cpus, features, caches, picture; quarrow --help tells the rest.\n";
}

} // namespace quarrow
