#pragma once

#include <cstdint>
#include <functional>

// Private to the library.

namespace libQuarrow::cpu {

// Reads an MSR of the processor that is being decoded. False, with `value` unspecified, when it cannot be read.
using MsrReader = std::function<bool(std::uint32_t msr, std::uint64_t& value)>;

} // namespace libQuarrow::cpu
