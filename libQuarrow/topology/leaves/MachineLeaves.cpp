#include <libQuarrow/topology/leaves/MachineLeaves.h>

#include <libQuarrow/cpu/x86/decode/CpuidLeaves.h>
#include <libQuarrow/topology/ProcessorTour.h>

#include <algorithm>
#include <utility>

namespace libQuarrow::topology {

std::optional<MachineLeaves> MachineLeaves::read(bool useThreadAffinity) {
    MachineLeaves machine;
    auto tour = tourProcessors(useThreadAffinity, [&machine](const ProcessorPlace& place, cpu::CpuidReader& cpuid) {
        std::vector<CpuidAnswer> answers;
        for (const cpu::CpuidLeaf& found : cpu::readAllLeaves(cpuid)) {
            const cpu::cpuid_args& registers = found.registers;
            answers.push_back({found.leaf, found.subleaf, registers.eax, registers.ebx, registers.ecx, registers.edx});
        }
        machine.m_processors.emplace_back(place.number, std::move(answers));
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
