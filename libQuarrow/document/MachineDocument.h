#pragma once

#include <libQuarrow/topology/Topology.h>

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

// JSON document 2, as docs/json.md describes it. What is not known is null.

namespace libQuarrow::document {

// A document with just the version and the machine: the file that it was read from, or none for the live one.
nlohmann::ordered_json emptyDocument(const std::optional<std::string>& machineFile);
// The machine with these of its processors, of which it has one at least.
nlohmann::ordered_json machineDocument(const topology::Topology& topology,
                                       const std::vector<const topology::Processor*>& processors,
                                       const std::optional<std::string>& machineFile);
// With all of its processors.
nlohmann::ordered_json machineDocument(const topology::Topology& topology,
                                       const std::optional<std::string>& machineFile);
// Indented, with a line feed at the end. Bytes that are not UTF-8 become U+FFFD.
std::string documentText(const nlohmann::ordered_json& document);

// The x86-64 level that every processor runs; none below the first.
std::optional<std::uint32_t> levelOfAll(const topology::Topology& topology);

} // namespace libQuarrow::document
