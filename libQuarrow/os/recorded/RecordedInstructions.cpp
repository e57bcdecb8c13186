#include <libQuarrow/os/recorded/RecordedInstructions.h>

#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/os/recorded/RecordedLeaves.h>

namespace libQuarrow::os {

void RecordedInstructions::cpuid(cpu::cpuid_args& registers) {
    const RecordedProcessor* here = m_state.processor();
    registers = here != nullptr ? answerOf(*here, registers.eax, registers.ecx) : cpu::cpuid_args();
}

std::uint64_t RecordedInstructions::rdtsc() {
    return m_clock.tsc();
}

std::uint64_t RecordedInstructions::xgetbv(std::uint32_t index) {
    const RecordedProcessor* here = m_state.processor();
    if (here == nullptr || index != 0) {
        return 0;
    }
    if (here->xcr0) {
        return *here->xcr0;
    }
    // An operating system that uses XSAVE enables what there is.
    const cpu::cpuid_args* features = findLeaf(*here, cpu::VersionLeaf::number, 0);
    const cpu::cpuid_args* states = findLeaf(*here, 0xD, 0);
    const bool enabled = features != nullptr && states != nullptr && cpu::VersionLeaf(*features).osxsave;
    return enabled ? std::uint64_t{states->edx} << 32 | states->eax : 0;
}

bool RecordedInstructions::cpuidBitToggles() {
    const RecordedProcessor* here = m_state.processor();
    return here != nullptr && !here->leaves.empty();
}

} // namespace libQuarrow::os
