#include <libQuarrow/cpu/x86/decode/CpuidReader.h>

#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::cpu {

cpuid_args LiveCpuidReader::read(std::uint32_t leaf, std::uint32_t subleaf) {
    cpuid_args registers;
    registers.eax = leaf;
    registers.ecx = subleaf;
    os::currentMachine().instructions().cpuid(registers);
    return registers;
}

std::uint64_t LiveCpuidReader::xcr0() {
    return os::currentMachine().instructions().xgetbv(0);
}

bool LiveCpuidReader::hasCpuid() {
    return os::currentMachine().instructions().cpuidBitToggles();
}

cpuid_args RememberingCpuidReader::read(std::uint32_t leaf, std::uint32_t subleaf) {
    for (const Answer& answer : m_read) {
        if (answer.leaf == leaf && answer.subleaf == subleaf) {
            return answer.registers;
        }
    }
    m_read.push_back({leaf, subleaf, m_source.read(leaf, subleaf)});
    return m_read.back().registers;
}

} // namespace libQuarrow::cpu
