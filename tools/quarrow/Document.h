#pragma once

#include <tools/quarrow/Request.h>

#include <nlohmann/json.hpp>

#include <string>

// What all JSON documents have in common. docs/json.md describes them. What is not known is null.

namespace quarrow {

// A document with just the version of the tool and the machine.
nlohmann::ordered_json emptyDocument(const Request& request);
// Indented, with a line feed at the end. Bytes that are not UTF-8 become U+FFFD.
std::string documentText(const nlohmann::ordered_json& document);

} // namespace quarrow
