#pragma once

#include <libQuarrow/quarrow_export.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <memory>
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

    // Ranges that stand one behind the other. Valid until the set that they are of changes or ends.
    class Ranges {
      public:
        const Range* begin() const { return m_begin; }
        const Range* end() const { return m_end; }
        std::size_t size() const { return static_cast<std::size_t>(m_end - m_begin); }
        const Range& operator[](std::size_t index) const { return m_begin[index]; }

      private:
        friend class ProcessorSet;
        Ranges(const Range* begin, const Range* end) : m_begin(begin), m_end(end) {}
        const Range* m_begin;
        const Range* m_end;
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
    ProcessorSet(const ProcessorSet& other);
    ProcessorSet(ProcessorSet&& other) noexcept; // leaves the other one empty
    ProcessorSet& operator=(const ProcessorSet& other);
    ProcessorSet& operator=(ProcessorSet&& other) noexcept;
    ~ProcessorSet() = default;

    // The list form of taskset and of the kernel: "0,4-7", with a step "0-31:2". None for any other text, an empty one,
    // a range that runs downwards, a step of 0 and a number above highestNumber.
    static std::optional<ProcessorSet> fromList(std::string_view text);
    // "0,4-7", ascending, neighbours joined; empty for an empty set.
    std::string toList() const;

    bool empty() const { return m_several == nullptr && m_only.last < m_only.first; }
    std::size_t count() const;
    bool contains(std::uint32_t number) const;
    // Whether every processor of `other` is in this set.
    bool contains(const ProcessorSet& other) const;
    // The lowest number; none of an empty set.
    std::optional<std::uint32_t> first() const;
    // Ascending, neither touching nor overlapping.
    Ranges ranges() const {
        return m_several != nullptr ? Ranges(m_several->data(), m_several->data() + m_several->size())
                                    : Ranges(&m_only, &m_only + (empty() ? 0 : 1));
    }
    Iterator begin() const { return Iterator(ranges().begin()); }
    Iterator end() const { return Iterator(ranges().end()); }

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
    friend bool operator==(const ProcessorSet& a, const ProcessorSet& b) {
        return a.m_several != nullptr && b.m_several != nullptr
                   ? *a.m_several == *b.m_several
                   : a.m_several == nullptr && b.m_several == nullptr && a.m_only == b.m_only;
    }
    friend bool operator!=(const ProcessorSet& a, const ProcessorSet& b) { return !(a == b); }

  private:
    static constexpr Range none{1, 0};
    void insertAmong(const Range& range);

    // Most sets are of neighbours, so one range needs no memory of its own.
    Range m_only = none;                           // where there are not several
    std::unique_ptr<std::vector<Range>> m_several; // null where there are not
};

} // namespace libQuarrow::topology
