#pragma once

#include <libQuarrow/cpu/x86/caches/x86_package_counts.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

// Private to the library.

namespace libQuarrow::cpu {

inline x86_package_counts packageCounts(const x86_cpu& cpu) {
    return {cpu.getNumberCoresPerPhysicalPackage(), cpu.getNumberThreadsPerPhysicalPackage()};
}

inline boost::optional<std::uint32_t> threadsPerCore(const x86_cpu& cpu) {
    return packageCounts(cpu).threadsPerCore();
}

} // namespace libQuarrow::cpu
