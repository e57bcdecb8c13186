#pragma once

#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <boost/optional.hpp>

#include <cstdint>

// Private to the library.

namespace libQuarrow::cpu {

// How many threads of its package each core has; 0 where there are fewer threads than cores. None when the processor
// does not say how many cores there are.
inline boost::optional<std::uint32_t> threadsPerCore(const x86_cpu& cpu) {
    const std::uint32_t cores = cpu.getNumberCoresPerPhysicalPackage();
    return cores == 0 ? boost::optional<std::uint32_t>() : cpu.getNumberThreadsPerPhysicalPackage() / cores;
}

} // namespace libQuarrow::cpu
