#pragma once

#include <libQuarrow/quarrow_export.h>
#include <libQuarrow/topology/ProcessorSet.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace libQuarrow::topology {

enum class CacheType { data, instruction, unified, trace };

// "data", "instruction", "unified", "trace".
QUARROW_EXPORT const char* nameOf(CacheType type);

// What a cache is. Where a figure is not told it is absent.
struct CacheFigures {
    std::uint32_t level = 0; // 1: nearest to the core
    CacheType type = CacheType::unified;
    std::uint64_t sizeBytes = 0;       // never 0; of a trace cache, micro-operations
    std::optional<std::uint32_t> ways; // 0: fully associative
    std::uint32_t lineSizeBytes = 0;   // 0: not told; a trace cache has no lines
    std::optional<std::uint64_t> sets; // told by leaves 4 and 0x8000001D alone
    std::optional<bool> inclusive;     // of the levels below; told by leaves 4 and 0x8000001D alone

    auto all() const { return std::tie(level, type, sizeBytes, ways, lineSizeBytes, sets, inclusive); }
    friend bool operator==(const CacheFigures& a, const CacheFigures& b) { return a.all() == b.all(); }
    friend bool operator<(const CacheFigures& a, const CacheFigures& b) { return a.all() < b.all(); }
};

// All caches of a machine with the same figures.
struct Cache {
    CacheFigures figures;
    // The processors that have such a cache.
    ProcessorSet processors;
    // For each instance the processors that share it: a partition of `processors`, by lowest number. None where the
    // machine does not tell who shares.
    std::optional<std::vector<ProcessorSet>> sharedBy;

    // How many there are; none where the machine does not tell who shares.
    std::optional<std::size_t> instances() const {
        return sharedBy ? std::make_optional(sharedBy->size()) : std::nullopt;
    }
};

} // namespace libQuarrow::topology
