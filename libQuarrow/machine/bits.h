#pragma once

#include <cstdint>

// Private to the library.

namespace libQuarrow::cpu {

// Bits `high` to `low` of a register, as the manuals number them; 32 of them at most.
constexpr std::uint32_t bits(std::uint64_t value, unsigned int high, unsigned int low) {
    return static_cast<std::uint32_t>(value >> low & ((std::uint64_t{1} << (high - low + 1)) - 1));
}

constexpr bool bit(std::uint64_t value, unsigned int number) {
    return bits(value, number, number) != 0;
}

} // namespace libQuarrow::cpu
