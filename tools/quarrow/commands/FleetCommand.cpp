#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Output.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/fleet/FleetPage.h>
#include <tools/quarrow/fleet/FleetReader.h>

#include <nlohmann/json.hpp>

#include <cstdio>

namespace quarrow {

using nlohmann::ordered_json;

namespace {

struct FleetAnswer {
    FleetGroups groups;
    std::size_t leftOut = 0;
};

FleetAnswer readMachines(const Request& request) {
    FleetAnswer input;
    const FleetSink sink = {
        [&input](const std::string& name, FleetMachine&& machine) { input.groups.add(name, std::move(machine)); },
        [&input](const std::string& what, bool) {
            ++input.leftOut;
            std::fprintf(stderr, "quarrow: left out %s\n", oneLine(what).c_str());
        }};
    if (request.operands.empty()) {
        throw Failure(Failure::WrongInput, "fleet needs a folder or files; 'quarrow fleet --help' tells which");
    }
    readFleet(request, request.operands, sink);
    if (input.groups.machines() == 0) {
        throw Failure(Failure::WrongInput, "there is no machine in what was named; name folders of recordings or files "
                                           "of JSON Lines");
    }
    return input;
}

std::string fleetText(const FleetAnswer& input) {
    const std::size_t columns = outputColumns();
    const std::vector<FleetGroups::Group> groups = input.groups.bySize();
    std::string text = paragraph(
        "Machines", std::to_string(input.groups.machines()) + " in " + counted(groups.size(), "group"), columns);
    if (input.leftOut != 0) {
        text += paragraph("Left out", std::to_string(input.leftOut), columns);
    }
    for (const FleetGroups::Group& group : groups) {
        const FleetMachine& machine = *group.machine;
        const auto& names = *group.names;
        text += "\n" + paragraph(std::to_string(names.size()) + " x", fleetName(machine), columns) +
                paragraph("  built as", fleetBuild(machine), columns) +
                paragraph("  runs", machine.level ? levelText(machine.level) : "no x86-64 level", columns) +
                (machine.hypervisor.empty() ? "" : paragraph("  hypervisor", machine.hypervisor, columns)) +
                paragraph(names.size() == 1 ? "  which is" : "  the first", names.front(), columns);
    }
    return text;
}

ordered_json groupJson(const FleetGroups::Group& group) {
    ordered_json json = {{"count", group.names->size()}};
    json.update(fleetJson(*group.machine));
    json["features"] = group.machine->features.names();
    json["usable"] = group.machine->usable.names();
    json["machines"] = *group.names;
    return json;
}

std::string fleetJsonLines(const FleetAnswer& input) {
    std::string lines;
    for (const FleetGroups::Group& group : input.groups.bySize()) {
        lines += groupJson(group).dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
    }
    return lines;
}

} // namespace

std::string fleetCommand(const Request& request) {
    const auto html = request.options.find("html");
    if (html != request.options.end() && request.json) {
        throw Failure(Failure::WrongInput, "--html and --json are two forms of the answer; leave one out");
    }
    const FleetAnswer input = readMachines(request);
    if (html == request.options.end()) {
        return request.json ? fleetJsonLines(input) : fleetText(input);
    }
    if (html->second == "-") {
        return fleetPage(input.groups, input.leftOut);
    }
    writeFile(html->second, fleetPage(input.groups, input.leftOut));
    return {};
}

} // namespace quarrow
