#pragma once

#include <libQuarrow/topology/Topology.h>

#include <string>

// The machine in the forms that other programs read. docs/fleet.md tells how each is used.

namespace quarrow {

// The XML topology of hwloc 2, as its DTD (hwloc2.dtd) has it: lstopo --input FILE. A level that the machine does not
// tell has no object. A cache of which it is not told who shares it is left out, for hwloc has no place for one.
std::string hwlocXml(const libQuarrow::topology::Topology& topology);

// Prometheus' text format, version 0.0.4: a file for the textfile folder of a node exporter.
std::string prometheusText(const libQuarrow::topology::Topology& topology);

// A feature file for the local source of Kubernetes' node feature discovery: a label in each line.
std::string nodeFeatures(const libQuarrow::topology::Topology& topology);

// The NodeName line of slurm.conf. Slurm knows sockets, cores and threads that are all alike: where they are not, a
// comment before the line says so, and the line gives the number of processors only.
std::string slurmNode(const libQuarrow::topology::Topology& topology, const std::string& name);

} // namespace quarrow
