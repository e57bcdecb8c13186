#pragma once

#include <libQuarrow/quarrow_export.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace libQuarrow::topology {

// A set of logical processors by their numbers (see Processor::number). Kept as ranges, so that a set takes little
// however many processors it has.
class QUARROW_EXPORT ProcessorSet {
  public:
    // Numbers go from 0 to here: 65536 processor groups of 64.
    static constexpr std::uint32_t highestNumber = 0x3FFFFF;

    struct Range {
        std::uint32_t first;
        std::uint32_t last; // in the range
        friend bool operator==(const Range& a, const Range& b) { return a.first == b.first && a.last == b.last; }
    };

    // Walks the numbers upwards.
    class Iterator {
      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::uint32_t;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::uint32_t*;
        using reference = std::uint32_t;

        Iterator() = default;
        std::uint32_t operator*() const { return m_range->first + m_offset; }
        Iterator& operator++() {
            if (m_offset++ == m_range->last - m_range->first) {
                ++m_range;
                m_offset = 0;
            }
            return *this;
        }
        Iterator operator++(int) {
            Iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) {
            return a.m_range == b.m_range && a.m_offset == b.m_offset;
        }
        friend bool operator!=(const Iterator& a, const Iterator& b) { return !(a == b); }

      private:
        friend class ProcessorSet;
        explicit Iterator(const Range* range) : m_range(range) {}
        const Range* m_range = nullptr;
        std::uint32_t m_offset = 0;
    };

    ProcessorSet() = default; // empty
    ProcessorSet(std::initializer_list<std::uint32_t> numbers);

    // The list form of taskset and of the kernel: "0,4-7", with a step "0-31:2". None for any other text, an empty one,
    // a range that runs downwards, a step of 0 and a number above highestNumber.
    static std::optional<ProcessorSet> fromList(std::string_view text);
    // "0,4-7", ascending, neighbours joined; empty for an empty set.
    std::string toList() const;

    bool empty() const { return m_ranges.empty(); }
    std::size_t count() const;
    bool contains(std::uint32_t number) const;
    // Whether every processor of `other` is in this set.
    bool contains(const ProcessorSet& other) const;
    // The lowest number; none of an empty set.
    std::optional<std::uint32_t> first() const;
    // Ascending, neither touching nor overlapping.
    const std::vector<Range>& ranges() const { return m_ranges; }
    Iterator begin() const { return Iterator(m_ranges.data()); }
    Iterator end() const { return Iterator(m_ranges.data() + m_ranges.size()); }

    // Takes constant time for a number above all that are in the set.
    void insert(std::uint32_t number) { insert(Range{number, number}); }
    // Nothing where the range runs downwards.
    void insert(const Range& range);

    ProcessorSet operator|(const ProcessorSet& other) const;
    ProcessorSet operator&(const ProcessorSet& other) const;
    ProcessorSet operator-(const ProcessorSet& other) const;
    ProcessorSet& operator|=(const ProcessorSet& other) { return *this = *this | other; }
    ProcessorSet& operator&=(const ProcessorSet& other) { return *this = *this & other; }
    ProcessorSet& operator-=(const ProcessorSet& other) { return *this = *this - other; }
    friend bool operator==(const ProcessorSet& a, const ProcessorSet& b) { return a.m_ranges == b.m_ranges; }
    friend bool operator!=(const ProcessorSet& a, const ProcessorSet& b) { return !(a == b); }

  private:
    std::vector<Range> m_ranges;
};

} // namespace libQuarrow::topology
