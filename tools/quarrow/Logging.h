#pragma once

#include <zel/Log.h>

namespace quarrow {

// Writes messages of that priority and above to standard error, fit for a terminal.
void logToStandardError(zel::LogPriority threshold);

} // namespace quarrow
