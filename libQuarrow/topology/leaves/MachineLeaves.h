#pragma once

#include <libQuarrow/topology/Processor.h>
#include <libQuarrow/topology/leaves/ProcessorLeaves.h>

#include <optional>

namespace libQuarrow::topology {

// The CPUID leaves of all logical processors of a machine.
class QUARROW_EXPORT MachineLeaves {
  public:
    // Of the current machine, in one visit of each processor; see Topology::read(). None when the processors cannot be
    // listed.
    static std::optional<MachineLeaves> read(bool useThreadAffinity = true);

    // Ascending numbers.
    const std::vector<ProcessorLeaves>& processors() const { return m_processors; }
    const std::vector<LeftOutProcessor>& leftOut() const { return m_leftOut; }

  private:
    std::vector<ProcessorLeaves> m_processors;
    std::vector<LeftOutProcessor> m_leftOut;
};

} // namespace libQuarrow::topology
