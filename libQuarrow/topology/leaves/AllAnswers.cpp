#include <libQuarrow/topology/leaves/AllAnswers.h>

#include <libQuarrow/cpu/x86/decode/CpuidLeaves.h>

namespace libQuarrow::topology {

std::vector<CpuidAnswer> allAnswers(cpu::CpuidReader& cpuid) {
    std::vector<CpuidAnswer> answers;
    for (const cpu::CpuidLeaf& found : cpu::readAllLeaves(cpuid)) {
        const cpu::cpuid_args& registers = found.registers;
        answers.push_back({found.leaf, found.subleaf, registers.eax, registers.ebx, registers.ecx, registers.edx});
    }
    return answers;
}

} // namespace libQuarrow::topology
