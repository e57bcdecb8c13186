#pragma once

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>

#include <cstdint>

// Private to the library: a processor's leaves with its maxima kept, so that no decoder reads behind them.

namespace libQuarrow::topology {

// How many bits it takes to number `count` things.
constexpr std::uint8_t bitsFor(std::uint64_t count) {
    std::uint8_t width = 0;
    while (width < 32 && std::uint64_t{1} << width < count) {
        ++width;
    }
    return width;
}

class LeafReader {
  public:
    explicit LeafReader(cpu::CpuidReader& cpuid)
        : m_cpuid(cpuid), m_first(cpuid.read(0)), m_extendedMaximum(cpuid.read(0x80000000).eax) {
        // A processor without that range answers something else.
        if (m_extendedMaximum < 0x80000000 || m_extendedMaximum > 0x8000FFFF) {
            m_extendedMaximum = 0;
        }
    }

    const cpu::cpuid_args& first() const { return m_first; } // leaf 0
    std::uint32_t maximum() const { return m_first.eax; }
    std::uint32_t extendedMaximum() const { return m_extendedMaximum; } // 0: no extended leaves
    bool has(std::uint32_t leaf) const { return leaf <= (leaf >= 0x80000000 ? m_extendedMaximum : maximum()); }
    // Zeros for a leaf above the maximum.
    cpu::cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf = 0) {
        return has(leaf) ? m_cpuid.read(leaf, subleaf) : cpu::cpuid_args();
    }
    template <class Leaf>
    Leaf get(std::uint32_t subleaf = 0) {
        return Leaf(read(Leaf::number, subleaf));
    }
    // Leaves that no maximum of the two covers.
    cpu::cpuid_args readAnyway(std::uint32_t leaf) { return m_cpuid.read(leaf); }

  private:
    cpu::CpuidReader& m_cpuid;
    const cpu::cpuid_args m_first;
    std::uint32_t m_extendedMaximum;
};

} // namespace libQuarrow::topology
