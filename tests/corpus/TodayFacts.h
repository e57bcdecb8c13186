#pragma once

#include <tests/corpus/Facts.h>

#include <libQuarrow/topology/Topology.h>

// The same facts as those of Facts.h, and those of today.tsv, as the topology of a machine answers them.
Facts topologyFacts(const libQuarrow::topology::Topology& topology);

// What topology.tsv and today.tsv say of a machine. A fact that they do not tell is absent.
Facts expectedToday(const std::vector<Row>& today, const std::vector<Row>& topology, bool wholeMachine);

// A mask of processors without leading zeros: "0x3f".
std::string withoutZeros(const std::string& mask);
