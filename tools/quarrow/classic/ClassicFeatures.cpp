#include <tools/quarrow/Text.h>
#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/classic/ClassicDocument.h>
#include <tools/quarrow/classic/Processors.h>

namespace quarrow {

std::string classicFeaturesCommand(const Request& request) {
    if (request.json) {
        return classicDocument(request);
    }
    return describedTogether(readMachine(request).processors, [](const libQuarrow::cpu::x86_cpu& cpu) {
        return line("Supported features", cpu.supportedFeatures().toString()) +
               line("Allowed features", cpu.allowedFeatures().toString());
    });
}

} // namespace quarrow
