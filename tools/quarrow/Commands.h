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
std::string limitsCommand(const Request& request);
std::string speedCommand(const Request& request); // shows its progress on a terminal
// With --write these say what they are about to do on standard output before they do it.
std::string msrCommand(const Request& request);
std::string memCommand(const Request& request);
std::string portCommand(const Request& request);
std::string pictureCommand(const Request& request);

} // namespace quarrow
