#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/topology/ProcessorSet.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <tuple>
#include <vector>

namespace libQuarrow::topology {

enum class TlbType { data, instruction, unified, load, store };

// "data", "instruction", "unified", "load", "store".
QUARROW_EXPORT const char* nameOf(TlbType type);

// Sizes of pages in bytes, each a power of two. Kept as their sum, so that it needs no memory of its own.
class PageSizes {
  public:
    constexpr PageSizes() = default; // none
    constexpr PageSizes(std::initializer_list<std::uint64_t> sizes) {
        for (const std::uint64_t size : sizes) {
            m_sum |= size;
        }
    }

    constexpr std::uint64_t sum() const { return m_sum; } // a bit for each size
    // Ascending.
    std::vector<std::uint64_t> list() const {
        std::vector<std::uint64_t> sizes;
        for (std::uint64_t rest = m_sum; rest != 0; rest &= rest - 1) {
            sizes.push_back(smallestOf(rest));
        }
        return sizes;
    }
    friend constexpr bool operator==(PageSizes a, PageSizes b) { return a.m_sum == b.m_sum; }
    friend constexpr bool operator!=(PageSizes a, PageSizes b) { return a.m_sum != b.m_sum; }
    // As lists compare: by the first size that differs, where one of the two ends by having no more.
    friend constexpr bool operator<(PageSizes a, PageSizes b) {
        const std::uint64_t first = smallestOf(a.m_sum ^ b.m_sum);
        const std::uint64_t below = first - 1;
        return (a.m_sum & first) != 0 ? (b.m_sum & ~below) != 0 : first != 0 && (a.m_sum & ~below) == 0;
    }

  private:
    static constexpr std::uint64_t smallestOf(std::uint64_t sum) { return sum & (~sum + 1); }

    std::uint64_t m_sum = 0;
};

// What a translation lookaside buffer is.
struct TlbFigures {
    std::uint32_t level = 1; // 1: asked first
    TlbType type = TlbType::unified;
    PageSizes pageSizes;               // entries are for any of them
    std::uint32_t entries = 0;         // never 0
    std::optional<std::uint32_t> ways; // 0: fully associative; none: not told

    auto all() const { return std::tie(level, type, pageSizes, entries, ways); }
    friend bool operator==(const TlbFigures& a, const TlbFigures& b) { return a.all() == b.all(); }
    friend bool operator<(const TlbFigures& a, const TlbFigures& b) { return a.all() < b.all(); }
};

struct Tlb {
    TlbFigures figures;
    ProcessorSet processors; // that have one, each its own or its core's
};

} // namespace libQuarrow::topology
