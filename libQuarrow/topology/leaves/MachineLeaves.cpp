#include <libQuarrow/topology/leaves/MachineLeaves.h>

#include <libQuarrow/topology/ProcessorTour.h>
#include <libQuarrow/topology/leaves/AllAnswers.h>

#include <algorithm>
#include <utility>

namespace libQuarrow::topology {

std::optional<MachineLeaves> MachineLeaves::read(bool useThreadAffinity) {
    MachineLeaves machine;
    auto tour = tourProcessors(useThreadAffinity, [&machine](const ProcessorPlace& place, cpu::CpuidReader& cpuid) {
        machine.m_processors.emplace_back(place.number, allAnswers(cpuid));
    });
    if (!tour) {
        return std::nullopt;
    }
    std::sort(machine.m_processors.begin(), machine.m_processors.end(),
              [](const ProcessorLeaves& a, const ProcessorLeaves& b) { return a.number() < b.number(); });
    machine.m_leftOut = std::move(tour->leftOut);
    return machine;
}

} // namespace libQuarrow::topology
