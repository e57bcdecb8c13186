#include <libQuarrow/cpu/x86/CpuidReader.h>

#include <libQuarrow/os/Machine.h>

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
    const auto [place, isNew] = m_read.try_emplace({leaf, subleaf});
    if (isNew) {
        place->second = m_source.read(leaf, subleaf);
    }
    return place->second;
}

} // namespace libQuarrow::cpu
