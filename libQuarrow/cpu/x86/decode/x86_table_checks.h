#pragma once

#include <cstddef>
#include <string_view>

// Private to the library: what the data tables assert of themselves at compile time.

namespace libQuarrow::cpu {

template <class Row, std::size_t count>
constexpr std::size_t rowCount(const Row (&)[count]) {
    return count;
}

// Whether `same` holds for no two rows.
template <class Row, std::size_t count, class Same>
constexpr bool rowsDiffer(const Row (&rows)[count], Same same) {
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t j = i + 1; j < count; ++j) {
            if (same(rows[i], rows[j])) {
                return false;
            }
        }
    }
    return true;
}

// Whether `before` holds for every row and the next one.
template <class Row, std::size_t count, class Before>
constexpr bool rowsAscend(const Row (&rows)[count], Before before) {
    for (std::size_t i = 0; i + 1 < count; ++i) {
        if (!before(rows[i], rows[i + 1])) {
            return false;
        }
    }
    return true;
}

// Whether `holds` is true of every row.
template <class Row, std::size_t count, class Holds>
constexpr bool everyRow(const Row (&rows)[count], Holds holds) {
    for (const Row& row : rows) {
        if (!holds(row)) {
            return false;
        }
    }
    return true;
}

// Whether two zero-terminated texts are equal.
constexpr bool sameText(const char* left, const char* right) {
    return std::string_view(left) == std::string_view(right);
}

} // namespace libQuarrow::cpu
