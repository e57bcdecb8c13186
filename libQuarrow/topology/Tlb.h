#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/topology/ProcessorSet.h>

#include <cstdint>
#include <optional>
#include <tuple>
#include <vector>

namespace libQuarrow::topology {

enum class TlbType { data, instruction, unified, load, store };

// "data", "instruction", "unified", "load", "store".
QUARROW_EXPORT const char* nameOf(TlbType type);

// What a translation lookaside buffer is.
struct TlbFigures {
    std::uint32_t level = 1; // 1: asked first
    TlbType type = TlbType::unified;
    std::vector<std::uint64_t> pageSizes; // bytes, ascending; entries are for any of them
    std::uint32_t entries = 0;            // never 0
    std::optional<std::uint32_t> ways;    // 0: fully associative; none: not told

    auto all() const { return std::tie(level, type, pageSizes, entries, ways); }
    friend bool operator==(const TlbFigures& a, const TlbFigures& b) { return a.all() == b.all(); }
    friend bool operator<(const TlbFigures& a, const TlbFigures& b) { return a.all() < b.all(); }
};

struct Tlb {
    TlbFigures figures;
    ProcessorSet processors; // that have one, each its own or its core's
};

} // namespace libQuarrow::topology
