#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Private to the library: what a field of a CPUID leaf is. The tables beside this header know each field once.

namespace libQuarrow::cpu {

enum class CpuidRegister : std::uint8_t { eax, ebx, ecx, edx };

enum class CpuidFieldKind : std::uint8_t {
    flag,   // a feature, by a name of its own: two fields of one name tell of the same feature
    bit,    // yes or no, but no feature
    number, // a number
};

struct CpuidField {
    std::uint32_t leaf;
    std::uint16_t firstSubleaf;
    std::uint16_t lastSubleaf;
    CpuidRegister reg;
    std::uint8_t lowestBit;
    std::uint8_t width; // in bits
    CpuidFieldKind kind;
    const char* name;    // as in /proc/cpuinfo where that has one, else after the manual in the same style
    const char* meaning; // for people, one phrase
};

// A flag of sub-leaf 0 or `subleaf`.
constexpr CpuidField flag(std::uint32_t leaf, std::uint16_t subleaf, CpuidRegister reg, std::uint8_t bit,
                          const char* name, const char* meaning) {
    return {leaf, subleaf, subleaf, reg, bit, 1, CpuidFieldKind::flag, name, meaning};
}

// Whether rows ascend by leaf, sub-leaf, register and bit, and none overlaps the one before it.
template <std::size_t count>
constexpr bool fieldsAscend(const CpuidField (&rows)[count]) {
    for (std::size_t i = 0; i < count; ++i) {
        const CpuidField& b = rows[i];
        if (b.width == 0 || b.lowestBit + b.width > 32 || b.firstSubleaf > b.lastSubleaf) {
            return false;
        }
        if (i == 0) {
            continue;
        }
        const CpuidField& a = rows[i - 1];
        const bool sameLeaf = a.leaf == b.leaf && a.firstSubleaf == b.firstSubleaf && a.lastSubleaf == b.lastSubleaf;
        const bool laterLeaf = a.leaf < b.leaf || (a.leaf == b.leaf && a.lastSubleaf < b.firstSubleaf);
        const bool laterField = a.reg < b.reg || (a.reg == b.reg && a.lowestBit + a.width <= b.lowestBit);
        if (!laterLeaf && !(sameLeaf && laterField)) {
            return false;
        }
    }
    return true;
}

} // namespace libQuarrow::cpu
