#pragma once

#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::os {

// The operating system's performance counter and what it has of priority classes. Defined once per operating system.
class NativeClock final : public Clock {
  public:
    bool frequency(std::uint64_t& countsPerSecond) override;
    bool counter(std::uint64_t& counts) override;
    bool priorityClass(std::uint32_t& value) override;
    bool setPriorityClass(std::uint32_t value) override;
};

} // namespace libQuarrow::os
