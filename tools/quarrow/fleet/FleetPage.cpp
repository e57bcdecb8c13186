#include <tools/quarrow/fleet/FleetPage.h>

#include <tools/quarrow/Words.h>
#include <tools/quarrow/page/Page.h>

namespace quarrow {
namespace {

std::string folded(const std::string& kind, const std::string& title, const std::string& body) {
    return htmlElement("details", kind,
                       htmlElement("summary", "", htmlText(title)) + htmlElement("div", "names", body));
}

std::string namesOfGroup(const std::vector<std::string>& names) {
    if (names.size() == 1) {
        return htmlElement("div", "soft", htmlText(names.front()));
    }
    std::string text;
    for (const std::string& name : names) {
        text += htmlText(name) + "<br>";
    }
    return folded("opens", "names of the " + std::to_string(names.size()), text);
}

// A list of phrases, none of which is broken over two lines.
std::string phrases(const std::string& list) {
    if (list.empty()) {
        return htmlElement("span", "soft", "not known");
    }
    std::string html;
    for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + 2) {
        end = list.find(", ", at);
        const bool isLast = end == std::string::npos;
        html +=
            htmlElement("span", "whole", htmlText(list.substr(at, isLast ? end : end + 1 - at))) + (isLast ? "" : " ");
    }
    return html;
}

std::string groupRow(const FleetGroups::Group& group) {
    const FleetMachine& machine = *group.machine;
    const std::string kinds = fleetKinds(machine);
    const std::string what = joined({machine.codename, kinds == machine.codename ? "" : kinds, machine.hypervisor});
    return "<tr class=\"row\">" + htmlElement("td", "number", std::to_string(group.names->size())) +
           htmlElement("td", "",
                       htmlText(fleetName(machine)) + "<br>" + htmlElement("span", "soft", htmlText(what)) +
                           namesOfGroup(*group.names) +
                           folded("", counted(machine.usable.count(), "usable feature"),
                                  htmlText(featureNames(machine.usable)))) +
           htmlElement("td", "", phrases(fleetBuild(machine))) + htmlElement("td", "", phrases(fleetCaches(machine))) +
           htmlElement("td", "word", htmlText(machine.level ? levelText(machine.level) : "none")) + "</tr>\n";
}

} // namespace

std::string fleetPage(const FleetGroups& groups, std::size_t leftOut) {
    std::string rows;
    const std::vector<FleetGroups::Group> sorted = groups.bySize();
    for (const FleetGroups::Group& group : sorted) {
        rows += groupRow(group);
    }
    const std::string title = counted(groups.machines(), "machine") + " in " + counted(sorted.size(), "group");
    const std::string more = leftOut == 0 ? "" : "; left out what could not be read: " + std::to_string(leftOut);
    return htmlPage(title,
                    htmlElement("p", "soft", "Machines of a group are alike in all that is shown here" + more + ".") +
                        "\n" + htmlSearch("Search by name, feature, cache ...", ".row") +
                        "<div class=\"wide\"><table>\n<thead><tr><th class=\"number\">Machines</th><th>Processor</th>"
                        "<th>Built as</th><th>Caches</th><th>Level</th></tr></thead>\n<tbody>\n" +
                        rows + "</tbody>\n</table></div>\n");
}

} // namespace quarrow
