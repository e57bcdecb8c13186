#pragma once

#include <tools/quarrow/LeafTable.h>

#include <string>

// The document of `quarrow leaves --json`, as docs/json.md describes it.

namespace quarrow {

std::string leavesDocument(const Request& request, const std::vector<SharedLeaf>& leaves);

} // namespace quarrow
