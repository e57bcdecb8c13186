#pragma once

#include <tools/quarrow/Request.h>
#include <tools/quarrow/classic/ClassicDocument.h>

#include <string>

// JSON document 2, as docs/json.md describes it. What is not known is null.

namespace quarrow {

// The whole machine, or of its processors those that the request's operands name. With a section the processors are
// visited once more for it.
std::string machineDocument(const Request& request, const Section& section = {});

} // namespace quarrow
