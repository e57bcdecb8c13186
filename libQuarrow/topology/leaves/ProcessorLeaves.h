#pragma once

#include <libQuarrow/topology/leaves/LeafField.h>

namespace libQuarrow::topology {

// All that CPUID answers on one logical processor, and what it means. A value: it executes nothing.
class QUARROW_EXPORT ProcessorLeaves {
  public:
    // `number` is the operating system's own. Of answers with the same leaf and sub-leaf the first one counts.
    ProcessorLeaves(std::uint32_t number, std::vector<CpuidAnswer> answers);

    std::uint32_t number() const { return m_number; }
    // Ascending. Answers that are all zero, as those of absent leaves, are not among them, but leaf 0.
    const std::vector<CpuidAnswer>& answers() const { return m_answers; }
    // Null where there is none.
    const CpuidAnswer* find(std::uint32_t leaf, std::uint32_t subleaf = 0) const;
    // What one of this processor's answers means: whose it is, is told by the maker in leaf 0, and for the leaves of
    // hypervisors by the name at the beginning of their range.
    LeafDescription describe(const CpuidAnswer& answer) const;

  private:
    std::uint16_t ownersOf(std::uint32_t leaf) const;

    std::uint32_t m_number;
    std::vector<CpuidAnswer> m_answers;
};

} // namespace libQuarrow::topology
