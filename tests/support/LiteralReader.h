#pragma once

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <string>
#include <utility>

// One CPUID answer written out in a test.
struct Leaf {
    std::uint32_t leaf;
    std::uint32_t subleaf;
    libQuarrow::cpu::cpuid_args answer;
};

// The four characters from `start` as a register holds them.
inline std::uint32_t registerOf(const std::string& text, std::size_t start) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4 && start + i < text.size(); ++i) {
        value |= std::uint32_t{static_cast<unsigned char>(text[start + i])} << 8 * i;
    }
    return value;
}

// A processor of a few literal leaves, which counts what is asked of it.
//
// What a real processor does not do: above the highest leaf of either range every answer is all ones, so that a decoder
// that forgets to ask for the maximum finds features and levels that are not there. Below it an absent leaf is zeros.
class LiteralReader : public libQuarrow::cpu::CpuidReader {
  public:
    LiteralReader(const std::string& vendor, std::uint32_t maximum, std::uint32_t extendedMaximum,
                  std::initializer_list<Leaf> leaves)
        : m_maximum(maximum), m_extendedMaximum(extendedMaximum) {
        m_leaves[{0, 0}] = {maximum, registerOf(vendor, 0), registerOf(vendor, 8), registerOf(vendor, 4)};
        m_leaves[{0x80000000, 0}] = {extendedMaximum, 0, 0, 0};
        for (const Leaf& leaf : leaves) {
            set(leaf);
        }
    }
    void set(const Leaf& leaf) { m_leaves[{leaf.leaf, leaf.subleaf}] = leaf.answer; }

    libQuarrow::cpu::cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf = 0) override {
        ++executions;
        const bool isMaximum = leaf == 0 || leaf == 0x80000000;
        if (!isMaximum && leaf > (leaf >= 0x80000000 ? m_extendedMaximum : m_maximum)) {
            return {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
        }
        const auto found = m_leaves.find({leaf, subleaf});
        return found != m_leaves.end() ? found->second : libQuarrow::cpu::cpuid_args{};
    }
    // Without OSXSAVE in leaf 1 the instruction behind it is an invalid one.
    std::uint64_t xcr0() override {
        EXPECT_NE(read(1).ecx >> 27 & 1, 0u) << "XGETBV without OSXSAVE";
        --executions;
        return enabledState;
    }
    bool hasCpuid() override { return cpuidThere; }

    std::uint64_t enabledState = 0;
    bool cpuidThere = true;
    unsigned int executions = 0;

  private:
    std::uint32_t m_maximum;
    std::uint32_t m_extendedMaximum;
    std::map<std::pair<std::uint32_t, std::uint32_t>, libQuarrow::cpu::cpuid_args> m_leaves;
};
