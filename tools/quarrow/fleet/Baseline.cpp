#include <tools/quarrow/fleet/Baseline.h>

#include <tools/quarrow/fleet/CompilerTargets.h>

#include <algorithm>
#include <map>

namespace quarrow {

using libQuarrow::topology::FeatureSet;

namespace {

// What programs can use on at least half of the machines.
FeatureSet usableOnHalf(const std::vector<FleetGroups::Group>& groups, std::size_t machines) {
    std::map<std::string_view, std::size_t> counts;
    for (const FleetGroups::Group& group : groups) {
        for (const std::string_view name : group.machine->usable.names()) {
            counts[name] += group.names->size();
        }
    }
    FeatureSet features;
    for (const auto& [name, count] : counts) {
        if (2 * count >= machines) {
            features.insert({name});
        }
    }
    return features;
}

FleetMachine commonOf(const std::vector<FleetGroups::Group>& groups) {
    FleetMachine common;
    bool isFirst = true;
    for (const FleetGroups::Group& group : groups) {
        const FleetMachine& machine = *group.machine;
        common.features = isFirst ? machine.features : common.features & machine.features;
        common.usable = isFirst ? machine.usable : common.usable & machine.usable;
        common.level = isFirst ? machine.level : std::min(common.level, machine.level); // none is below the first
        isFirst = false;
    }
    return common;
}

} // namespace

Baseline baselineOf(const FleetGroups& all) {
    const std::vector<FleetGroups::Group> groups = all.bySize();
    Baseline baseline;
    baseline.common = commonOf(groups);
    const FeatureSet most = usableOnHalf(groups, all.machines());
    std::optional<std::uint32_t> highest;
    for (const FleetGroups::Group& group : groups) {
        highest = std::max(highest, group.machine->level);
    }
    std::map<std::pair<std::optional<std::uint32_t>, FeatureSet>, std::vector<std::string>> lacking;
    for (const FleetGroups::Group& group : groups) {
        baseline.tunings.push_back(tuningOf(*group.machine));
        const FeatureSet lacks = most - group.machine->usable;
        if (!lacks.empty() || group.machine->level < highest) {
            auto& names = lacking[{group.machine->level, lacks}];
            names.insert(names.end(), group.names->begin(), group.names->end());
        }
    }
    for (auto& [what, names] : lacking) {
        baseline.holders.push_back({std::move(names), what.first, what.second});
    }
    std::stable_sort(baseline.holders.begin(), baseline.holders.end(), [](const auto& a, const auto& b) {
        return a.level != b.level ? a.level < b.level : a.lacks.count() > b.lacks.count();
    });
    return baseline;
}

} // namespace quarrow
