#pragma once

#include <tools/quarrow/Request.h>

#include <libQuarrow/document/MachineDocument.h>

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

// What all JSON documents have in common. docs/json.md describes them. What is not known is null.

namespace quarrow {

// A document with just the version of the tool and the machine.
nlohmann::ordered_json emptyDocument(const Request& request);
using libQuarrow::document::documentText;

// The file that the machine was read from, as it was given; none for this one.
std::optional<std::string> machineName(const Request& request);

} // namespace quarrow
