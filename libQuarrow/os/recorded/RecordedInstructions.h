#pragma once

#include <libQuarrow/os/recorded/RecordedClock.h>
#include <libQuarrow/os/recorded/RecordedMachineState.h>

namespace libQuarrow::os {

// Private to the library: the instructions as the recorded processor that the calling thread is on answers them.
class RecordedInstructions : public Instructions {
  public:
    // Both must outlive this object.
    RecordedInstructions(RecordedMachineState& state, const RecordedClock& clock) : m_state(state), m_clock(clock) {}

    void cpuid(cpu::cpuid_args& registers) override;
    std::uint64_t rdtsc() override;
    std::uint64_t xgetbv(std::uint32_t index) override;
    bool cpuidBitToggles() override;

  private:
    RecordedMachineState& m_state;
    const RecordedClock& m_clock;
};

} // namespace libQuarrow::os
