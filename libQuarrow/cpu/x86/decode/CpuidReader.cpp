#include <libQuarrow/cpu/x86/decode/CpuidReader.h>

#include <libQuarrow/machine/Machine.h>

namespace libQuarrow::cpu {

bool CpuidReader::ask(std::uint32_t leaf, std::uint32_t subleaf, cpuid_args& answer) {
    constexpr std::uint32_t firstExtended = 0x80000000;
    if (leaf > read(leaf >= firstExtended ? firstExtended : 0).eax) {
        return false;
    }
    answer = read(leaf, subleaf);
    return true;
}

cpuid_args executeCpuid(cpuid_args registers) {
    os::currentMachine().instructions().cpuid(registers);
    return registers;
}

cpuid_args LiveCpuidReader::read(std::uint32_t leaf, std::uint32_t subleaf) {
    return executeCpuid({leaf, 0, subleaf, 0});
}

std::uint64_t LiveCpuidReader::xcr0() {
    return os::currentMachine().instructions().xgetbv(0);
}

bool LiveCpuidReader::hasCpuid() {
    return os::currentMachine().instructions().cpuidBitToggles();
}

RememberingCpuidReader::Answer* RememberingCpuidReader::remembered(std::uint32_t leaf, std::uint32_t subleaf) {
    for (Answer& answer : m_read) {
        if (answer.leaf == leaf && answer.subleaf == subleaf) {
            return &answer;
        }
    }
    return nullptr;
}

cpuid_args RememberingCpuidReader::read(std::uint32_t leaf, std::uint32_t subleaf) {
    if (const Answer* known = remembered(leaf, subleaf)) {
        return known->registers; // zeros where ask() was refused it
    }
    m_read.push_back({leaf, subleaf, m_source.read(leaf, subleaf), true});
    return m_read.back().registers;
}

bool RememberingCpuidReader::ask(std::uint32_t leaf, std::uint32_t subleaf, cpuid_args& answer) {
    const Answer* known = remembered(leaf, subleaf);
    if (known == nullptr) {
        cpuid_args registers;
        const bool there = m_source.ask(leaf, subleaf, registers);
        m_read.push_back({leaf, subleaf, registers, there});
        known = &m_read.back();
    }
    if (known->there) {
        answer = known->registers;
    }
    return known->there;
}

} // namespace libQuarrow::cpu
