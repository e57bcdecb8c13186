#pragma once

#include <libQuarrow/machine/SystemFrequencies.h>

#include <string>

namespace libQuarrow::os {

// What the kernel shows of a processor's frequencies in `folder` (/sys/devices/system/cpu/cpu0): in cpufreq; and where
// that knows no base frequency, in acpi_cppc, which has what the firmware says.
SystemFrequencies readFrequencies(const std::string& folder);

} // namespace libQuarrow::os
