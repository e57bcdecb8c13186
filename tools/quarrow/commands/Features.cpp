#include <tools/quarrow/Processors.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/Document.h>

namespace quarrow {

std::string featuresCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    return describedTogether(readMachine(request).processors, [](const libQuarrow::cpu::x86_cpu& cpu) {
        return line("Supported features", cpu.supportedFeatures().toString()) +
               line("Allowed features", cpu.allowedFeatures().toString());
    });
}

} // namespace quarrow
