#pragma once

#include <tools/quarrow/fleet/FleetMachine.h>

#include <map>
#include <string>
#include <vector>

namespace quarrow {

// Machines that are alike stand together. Takes as much memory as the different machines and all names need.
class FleetGroups {
  public:
    struct Group {
        const FleetMachine* machine;           // valid as long as the groups are
        const std::vector<std::string>* names; // in the order they came; never empty
    };

    void add(const std::string& name, FleetMachine&& machine);
    std::size_t machines() const { return m_count; }
    // The largest first; of as many, as FleetMachine orders them.
    std::vector<Group> bySize() const;

  private:
    std::map<FleetMachine, std::vector<std::string>> m_groups;
    std::size_t m_count = 0;
};

} // namespace quarrow
