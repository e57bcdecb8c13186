#include <libQuarrow/cpu/x86/decode/GuardedCpuidReader.h>

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>

namespace libQuarrow::cpu {

cpuid_args GuardedCpuidReader::read(std::uint32_t leaf, std::uint32_t subleaf) {
    cpuid_args answer;
    ask(leaf, subleaf, answer);
    return answer;
}

bool GuardedCpuidReader::ask(std::uint32_t leaf, std::uint32_t subleaf, cpuid_args& answer) {
    return m_cpu.callCPUID({leaf, 0, subleaf, 0}, answer);
}

std::uint64_t GuardedCpuidReader::xcr0() {
    const x86_pin pin(m_cpu);
    return pin.pinned() ? LiveCpuidReader().xcr0() : 0;
}

bool GuardedCpuidReader::hasCpuid() {
    return m_cpu.isAllowedFeature(x86_feature_CPUID);
}

MsrReader guardedMsrReader(const x86_cpu& cpu) {
    return [&cpu](std::uint32_t msr, std::uint64_t& value) { return cpu.callRDMSR(msr, value); };
}

} // namespace libQuarrow::cpu
