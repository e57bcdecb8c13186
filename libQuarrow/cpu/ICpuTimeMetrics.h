#pragma once

#include <libQuarrow/quarrow_export.h>

#include <cstdint>

namespace libQuarrow::cpu {

// How a logical processor has spent its time since the system started, in nanoseconds. False, with `nanoseconds`
// untouched, when it is not known. Programs bring their own: the library has none.
class QUARROW_EXPORT ICpuTimeMetrics {
  public:
    virtual ~ICpuTimeMetrics();
    virtual bool getIdleTime(std::uint64_t& nanoseconds) const = 0;
    virtual bool getKernelTime(std::uint64_t& nanoseconds) const = 0; // in the operating system, idle time not counted
    virtual bool getUserTime(std::uint64_t& nanoseconds) const = 0;
};

} // namespace libQuarrow::cpu
