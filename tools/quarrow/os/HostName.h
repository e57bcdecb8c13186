#pragma once

#include <string>

namespace quarrow {

// What this machine is called on its network, without the domain. Empty where the system does not tell.
std::string hostName();

} // namespace quarrow
