#pragma once

#include <libQuarrow/quarrow_export.h>

#include <string_view>

namespace libQuarrow::topology {

// What people call the hypervisor that answers CPUID leaf 0x40000000 with this signature, without the zeros at its end.
// Empty for one that is not known. A constant of the library.
QUARROW_EXPORT std::string_view hypervisorNamed(std::string_view signature);

} // namespace libQuarrow::topology
