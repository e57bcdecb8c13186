#include <libQuarrow/cpu/x86/decode/CpuidReader.h>

#include <libQuarrow/machine/Machine.h>

#include <algorithm>

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

LiveCpuidReader::LiveCpuidReader() : m_instructions(os::currentMachine().instructions()) {}

cpuid_args LiveCpuidReader::read(std::uint32_t leaf, std::uint32_t subleaf) {
    cpuid_args registers{leaf, 0, subleaf, 0};
    m_instructions.cpuid(registers);
    return registers;
}

std::uint64_t LiveCpuidReader::xcr0() {
    return m_instructions.xgetbv(0);
}

bool LiveCpuidReader::hasCpuid() {
    return m_instructions.cpuidBitToggles();
}

const CpuidAnswers::Leaf* RememberingCpuidReader::remembered(std::uint32_t leaf, std::uint32_t subleaf) const {
    const auto isIt = [=](const CpuidAnswers::Leaf& answer) {
        return answer.leaf == leaf && answer.subleaf == subleaf;
    };
    const std::size_t last = m_places[placeOf(leaf, subleaf)];
    if (last == 0) {
        return nullptr;
    }
    const auto* const end = m_answers.leaves.data() + m_answers.leaves.size();
    const auto* const likely = m_answers.leaves.data() + (last - 1);
    const auto* const found = isIt(*likely) ? likely : std::find_if(m_answers.leaves.data(), end, isIt);
    return found != end ? found : nullptr;
}

cpuid_args RememberingCpuidReader::read(std::uint32_t leaf, std::uint32_t subleaf) {
    if (const CpuidAnswers::Leaf* known = remembered(leaf, subleaf)) {
        return known->registers; // zeros where ask() was refused it
    }
    const cpuid_args registers = m_source.read(leaf, subleaf);
    remember({leaf, subleaf, registers, true});
    return registers;
}

bool RememberingCpuidReader::ask(std::uint32_t leaf, std::uint32_t subleaf, cpuid_args& answer) {
    const CpuidAnswers::Leaf* known = remembered(leaf, subleaf);
    if (known == nullptr) {
        cpuid_args registers;
        const bool there = m_source.ask(leaf, subleaf, registers);
        remember({leaf, subleaf, registers, there});
        known = &m_answers.leaves.back();
    }
    if (known->there) {
        answer = known->registers;
    }
    return known->there;
}

std::uint64_t RememberingCpuidReader::xcr0() {
    if (!m_answers.xcr0) {
        m_answers.xcr0 = m_source.xcr0();
    }
    return *m_answers.xcr0;
}

} // namespace libQuarrow::cpu
