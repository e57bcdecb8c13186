#pragma once

#include <tests/corpus/Table.h>

#include <map>
#include <string>

// What is known of one recorded machine: fact ("brand", "flag sse4a", "cpu3 L2_KB") to value. Where a column of
// expected.tsv or topology.tsv tells a fact, it has the column's name.
using Facts = std::map<std::string, std::string>;

// What Quarrow answers for the recording at `path`.
Facts quarrowFacts(const std::string& path);

// What the other programs say in the rows of expected.tsv, topology.tsv and flags.tsv; a fact that they could not tell
// is absent. `wholeMachine`: the dump has all processors, so counts and places can be compared.
Facts expectedFacts(const Row& row, const std::vector<Row>& topology, const std::vector<Row>& flags, bool wholeMachine);

// "a a b c" for any labels: the same partition gives the same text, "0 0 1 2".
std::string partition(const std::vector<std::string>& labels);
