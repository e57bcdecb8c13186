#pragma once

#include <libQuarrow/machine/cpuid_args.h>

#include <boost/container/small_vector.hpp>

#include <array>
#include <cstddef>
#include <optional>

// Private to the library: where decoders read a processor from. Whatever turns register values into facts takes one of
// these and nothing else, so that the same code serves live processors, recordings and three literal leaves in a test.

namespace libQuarrow::os {
class Instructions;
}

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

// Executes CPUID, with all four registers loaded, on the processor that the calling thread is on.
cpuid_args executeCpuid(cpuid_args registers);

// Executes each read on the processor that the calling thread is on, of the machine that was current when the reader
// was made. No other place but executeCpuid() executes CPUID.
class LiveCpuidReader : public CpuidReader {
  public:
    LiveCpuidReader();
    cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf = 0) override;
    std::uint64_t xcr0() override;
    bool hasCpuid() override;

  private:
    os::Instructions& m_instructions;
};

// What a processor answered.
struct CpuidAnswers {
    struct Leaf {
        std::uint32_t leaf;
        std::uint32_t subleaf;
        cpuid_args registers;
        bool there; // what ask() said
    };
    // In the order of reading. As many as are usual lie in the object itself: one visit of a processor is too short for
    // an allocation.
    boost::container::small_vector<Leaf, 32> leaves;
    std::optional<std::uint64_t> xcr0; // none until it was read
};

// Reads each leaf and sub-leaf of another reader once and answers from memory from then on.
class RememberingCpuidReader : public CpuidReader {
  public:
    explicit RememberingCpuidReader(CpuidReader& source) : m_source(source) {}

    cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf = 0) override;
    bool ask(std::uint32_t leaf, std::uint32_t subleaf, cpuid_args& answer) override;
    std::uint64_t xcr0() override;
    bool hasCpuid() override { return m_source.hasCpuid(); }

    const CpuidAnswers& answers() const { return m_answers; }
    // Reads what was read of another processor, in that order, up to the first answer that is not `alike` (of a leaf
    // number and the registers of both). False when there is one. Leaves that are `passedOver` are not read. Before
    // anything else is read; leaves that ask() was refused are not for it.
    template <class Alike, class PassedOver>
    bool readLike(const CpuidAnswers& other, Alike alike, PassedOver passedOver) {
        for (const CpuidAnswers::Leaf& expected : other.leaves) {
            if (passedOver(expected.leaf)) {
                continue;
            }
            const cpuid_args registers = m_source.read(expected.leaf, expected.subleaf);
            remember({expected.leaf, expected.subleaf, registers, true});
            if (!alike(expected.leaf, expected.registers, registers)) {
                return false;
            }
        }
        return !other.xcr0 || xcr0() == *other.xcr0;
    }

  private:
    static constexpr std::size_t places = 64;
    // Where an answer stands in m_places. Ranges of leaves differ in the highest bits.
    static std::size_t placeOf(std::uint32_t leaf, std::uint32_t subleaf) {
        return (leaf + (leaf >> 26) + 19 * subleaf) % places;
    }
    const CpuidAnswers::Leaf* remembered(std::uint32_t leaf, std::uint32_t subleaf) const;
    void remember(const CpuidAnswers::Leaf& answer) {
        m_answers.leaves.push_back(answer);
        m_places[placeOf(answer.leaf, answer.subleaf)] = static_cast<std::uint16_t>(m_answers.leaves.size());
    }

    CpuidReader& m_source;
    CpuidAnswers m_answers;
    // For each place the last answer that belongs there, counted from 1; 0: none does. Decoders ask again and again.
    std::array<std::uint16_t, places> m_places{};
};

} // namespace libQuarrow::cpu
