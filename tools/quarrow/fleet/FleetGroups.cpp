#include <tools/quarrow/fleet/FleetGroups.h>

#include <algorithm>

namespace quarrow {

void FleetGroups::add(const std::string& name, FleetMachine&& machine) {
    m_groups[std::move(machine)].push_back(name);
    ++m_count;
}

std::vector<FleetGroups::Group> FleetGroups::bySize() const {
    std::vector<Group> groups;
    for (const auto& [machine, names] : m_groups) {
        groups.push_back({&machine, &names});
    }
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Group& a, const Group& b) { return a.names->size() > b.names->size(); });
    return groups;
}

} // namespace quarrow
