#pragma once

#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::os {

// The processor's own instructions. This class's source is the only one that is written for particular compilers.
class InstructionRoutines final : public Instructions {
  public:
    void cpuid(cpu::cpuid_args& registers) override;
    std::uint64_t rdtsc() override;
    std::uint64_t xgetbv(std::uint32_t index) override;
    // Leaves the bit toggled.
    bool cpuidBitToggles() override;
};

} // namespace libQuarrow::os
