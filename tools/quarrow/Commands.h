#pragma once

#include <tools/quarrow/Request.h>

#include <string>

// One function per command. Each answers everything that the command writes to standard output, and throws Failure when
// there is no answer.

namespace quarrow {

std::string treeCommand(const Request& request);
std::string cpusCommand(const Request& request);
std::string featuresCommand(const Request& request);
std::string cachesCommand(const Request& request);
std::string affinityCommand(const Request& request);
std::string recordCommand(const Request& request);

} // namespace quarrow
