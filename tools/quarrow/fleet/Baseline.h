#pragma once

#include <tools/quarrow/fleet/FleetGroups.h>

#include <string>
#include <vector>

// What all machines of a fleet have in common, and who lacks what the others have.

namespace quarrow {

struct Baseline {
    // Machines that lack the same.
    struct Holder {
        std::vector<std::string> names;
        std::optional<std::uint32_t> level;
        // What programs can use on at least half of the machines, and not on these.
        libQuarrow::topology::FeatureSet lacks;
    };

    // Of what is common only `features`, `usable` and `level` are set.
    FleetMachine common;
    // What the target of each group is called that compilers have for it; see tuningOf().
    std::vector<std::string> tunings;
    // Those below the highest level, or that lack something. The lowest level first, then those that lack most.
    std::vector<Holder> holders;
};

// Of at least one machine.
Baseline baselineOf(const FleetGroups& groups);

} // namespace quarrow
