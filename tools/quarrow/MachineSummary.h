#pragma once

#include <libQuarrow/topology/Topology.h>

#include <string>
#include <vector>

namespace quarrow {

struct SummaryLine {
    std::string label; // of a part of the line above it, indented by two blanks
    std::string value;
};

// What people look for first: what the machine is, how it is built, what it runs. Of a machine that is not recorded,
// also what this process is allowed of it.
std::vector<SummaryLine> summaryOf(const libQuarrow::topology::Topology& topology, bool isRecorded);

} // namespace quarrow
