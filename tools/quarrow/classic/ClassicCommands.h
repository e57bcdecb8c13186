#pragma once

#include <tools/quarrow/Request.h>

#include <string>

namespace quarrow {

// What --classic answers with: the classic classes, in their own report texts.
std::string classicTreeCommand(const Request& request);
std::string classicCpusCommand(const Request& request);
std::string classicFeaturesCommand(const Request& request);
std::string classicCachesCommand(const Request& request);
std::string classicLimitsCommand(const Request& request);
std::string classicSpeedCommand(const Request& request);

} // namespace quarrow
