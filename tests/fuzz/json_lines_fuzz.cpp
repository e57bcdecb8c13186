// Any bytes as JSON Lines of machines: each line is a machine or is refused with one line, and what is read can be
// asked for what all of them have in common.

#include <tests/fuzz/Require.h>
#include <tools/quarrow/fleet/Baseline.h>
#include <tools/quarrow/fleet/CompilerTargets.h>
#include <tools/quarrow/fleet/FleetPage.h>
#include <tools/quarrow/fleet/FleetReader.h>

#include <algorithm>
#include <cstdint>
#include <sstream>

using namespace quarrow;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    std::istringstream lines(text);
    FleetGroups groups;
    std::size_t refused = 0;
    readJsonLines(lines, "lines", true,
                  {[&groups](const std::string& name, FleetMachine&& machine) { groups.add(name, std::move(machine)); },
                   [&refused](const std::string& what, bool) {
                       require(what.substr(0, 5) == "lines", "an error names the stream");
                       require(what.find('\n') == std::string::npos, "an error is one line");
                       ++refused;
                   }});
    const auto most = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    require(groups.machines() + refused <= most, "a line is one machine");
    if (groups.machines() != 0) {
        const Baseline baseline = baselineOf(groups);
        for (const FleetGroups::Group& group : groups.bySize()) {
            require(group.machine->usable.containsAll(baseline.common.usable), "what is common every machine has");
        }
        for (const CompilerChoice& choice : choicesFor(Compiler::gcc, baseline.common, baseline.tunings)) {
            require(choice.flags().find('\n') == std::string::npos, "flags are one line");
        }
        fleetPage(groups, refused);
    }
    return 0;
}
