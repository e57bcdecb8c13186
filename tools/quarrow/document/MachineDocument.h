#pragma once

#include <tools/quarrow/Request.h>
#include <tools/quarrow/TopologyReading.h>

#include <string>

// JSON document 2, as docs/json.md describes it. What is not known is null.

namespace quarrow {

// The whole machine, or of its processors those that the request's operands name, with their speeds and limits where
// the topology has them.
std::string machineDocument(const Request& request, const Topology& topology);
// The same, of the machine as it is read for nothing else.
std::string machineDocument(const Request& request);

} // namespace quarrow
