#pragma once

#include <libQuarrow/cpu/x86/amd/x86_amd_pstates.h>
#include <libQuarrow/cpu/x86/x86_inst.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>

#include <boost/optional.hpp>

#include <cstdint>

// Private to the library.

namespace libQuarrow::cpu {

class x86_cpu;

// The P-states of an AMD processor of family 0x10 or later. It knows how the family encodes them, and reads the
// registers anew every time. Nothing in it changes, so any number of owners may share it.
class AMD_Perf {
  public:
    explicit AMD_Perf(const x86_cpu_signature& signature);

    // Fills in bus clock, multipliers and turbo ratio as far as the registers tell them. `tscHertz` is the measured
    // rate of the time-stamp counter, 0 when not known. Hold the pin of `cpu`, which is of that signature, around it.
    void getSpeedMetrics(const x86_cpu& cpu, std::uint64_t tscHertz, x86_speed_metrics& metrics) const;

  private:
    boost::optional<AmdPStateFamily> m_family; // absent: a family with no such registers, or not known
};

} // namespace libQuarrow::cpu
