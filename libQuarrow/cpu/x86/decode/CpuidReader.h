#pragma once

#include <libQuarrow/machine/cpuid_args.h>

#include <vector>

// Private to the library: where decoders read a processor from. Whatever turns register values into facts takes one of
// these and nothing else, so that the same code serves live processors, recordings and three literal leaves in a test.

namespace libQuarrow::cpu {

class CpuidReader {
  public:
    virtual ~CpuidReader() = default;
    // CPUID with EAX = leaf, ECX = subleaf, EBX = EDX = 0.
    virtual cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf = 0) = 0;
    // The same for a leaf that the processor may not have: false, with `answer` untouched, when the highest leaf of its
    // range lies below it, or the processor cannot be asked.
    virtual bool ask(std::uint32_t leaf, std::uint32_t subleaf, cpuid_args& answer);
    // XGETBV with ECX = 0. Asked only where leaf 1 says OSXSAVE.
    virtual std::uint64_t xcr0() = 0;
    // Whether there is a CPUID instruction at all.
    virtual bool hasCpuid() = 0;
};

// Executes CPUID, with all four registers loaded, on the processor that the calling thread is on. There is no other
// place that does.
cpuid_args executeCpuid(cpuid_args registers);

// Executes each read on the processor that the calling thread is on.
class LiveCpuidReader : public CpuidReader {
  public:
    cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf = 0) override;
    std::uint64_t xcr0() override;
    bool hasCpuid() override;
};

// Reads each leaf and sub-leaf of another reader once and answers from memory from then on.
class RememberingCpuidReader : public CpuidReader {
  public:
    explicit RememberingCpuidReader(CpuidReader& source) : m_source(source) { m_read.reserve(32); }

    cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf = 0) override;
    bool ask(std::uint32_t leaf, std::uint32_t subleaf, cpuid_args& answer) override;
    std::uint64_t xcr0() override { return m_source.xcr0(); }
    bool hasCpuid() override { return m_source.hasCpuid(); }

  private:
    struct Answer {
        std::uint32_t leaf;
        std::uint32_t subleaf;
        cpuid_args registers;
        bool there; // what ask() said
    };
    Answer* remembered(std::uint32_t leaf, std::uint32_t subleaf);

    CpuidReader& m_source;
    std::vector<Answer> m_read; // in the order of reading: there are about twenty
};

} // namespace libQuarrow::cpu
