#pragma once

#include <tests/corpus/Table.h>

#include <map>
#include <string>

// What is known of one recorded machine: fact ("brand", "flag sse4a", "cpu3 L2 KB") to value.
using Facts = std::map<std::string, std::string>;

// What Quarrow answers for the recording at `path`.
Facts quarrowFacts(const std::string& path);

// What the other programs say in the rows of expected.tsv, topology.tsv and flags.tsv, under the same names; a fact
// that they could not tell is absent. `wholeMachine`: the dump has all processors, so counts and places can be
// compared. `ours` says whose processor it is and which processors share APIC IDs.
Facts expectedFacts(const Table::Row& row, const std::vector<Table::Row>& topology,
                    const std::vector<Table::Row>& flags, bool wholeMachine);

// "a a b c" for any labels: the same partition gives the same text.
std::string partition(const std::vector<std::string>& labels);
