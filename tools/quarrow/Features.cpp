#include <tools/quarrow/Commands.h>
#include <tools/quarrow/Document.h>
#include <tools/quarrow/Processors.h>
#include <tools/quarrow/Text.h>

namespace quarrow {

std::string featuresCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    return describedTogether(readProcessors(request), [](const libQuarrow::cpu::x86_cpu& cpu) {
        return line("Supported features", cpu.supportedFeatures().toString()) +
               line("Allowed features", cpu.allowedFeatures().toString());
    });
}

} // namespace quarrow
