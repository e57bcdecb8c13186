#pragma once

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/cpu/x86/decode/MsrReader.h>

// Private to the library: an x86_cpu's guarded instructions as decoders take them.

namespace libQuarrow::cpu {

class x86_cpu;

// CPUID by x86_cpu::callCPUID: pinned to that processor, up to the highest leaf that it had when it was refreshed. What
// it refuses is false to ask() and zeros to read(). The processor must outlive the reader.
class GuardedCpuidReader : public CpuidReader {
  public:
    explicit GuardedCpuidReader(const x86_cpu& cpu) : m_cpu(cpu) {}

    cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf = 0) override;
    bool ask(std::uint32_t leaf, std::uint32_t subleaf, cpuid_args& answer) override;
    std::uint64_t xcr0() override;
    bool hasCpuid() override;

  private:
    const x86_cpu& m_cpu;
};

// MSRs by x86_cpu::callRDMSR. The processor must outlive the reader.
MsrReader guardedMsrReader(const x86_cpu& cpu);

} // namespace libQuarrow::cpu
