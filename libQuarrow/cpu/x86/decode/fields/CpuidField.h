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
    number, // a number, or one of several things
    text,   // four characters, the first one in the lowest byte
};

// Whose processors, or which hypervisors, answer as a row says. A row names all that do.
enum CpuidOwner : std::uint16_t {
    intelOwner = 1 << 0,
    amdOwner = 1 << 1,     // and Hygon
    centaurOwner = 1 << 2, // VIA, Zhaoxin
    transmetaOwner = 1 << 3,
    otherMakerOwner = 1 << 4,
    anyMaker = (1 << 5) - 1,
    kvmOwner = 1 << 5,
    hyperVOwner = 1 << 6,
    xenOwner = 1 << 7,
    vmwareOwner = 1 << 8,
    otherHypervisorOwner = 1 << 9,
    anyHypervisor = (1 << 10) - (1 << 5),
};

// What a number stands for, where it is not itself.
struct CpuidWord {
    std::uint32_t number;
    const char* word;
};

// What people call the number in a field: (number + plus) * scale of a unit, or a word. A descriptor is a byte of
// leaf 2.
struct CpuidUnit {
    enum Form : std::uint8_t { decimal, hexadecimal, powerOfTwo, descriptor };
    Form form;
    std::uint8_t plus;
    std::uint16_t scale;
    const char* unit; // may be empty
    const CpuidWord* words = nullptr;
    std::size_t wordCount = 0;
};

struct CpuidField {
    std::uint32_t leaf;
    std::uint16_t firstSubleaf;
    std::uint16_t lastSubleaf;
    CpuidRegister reg;
    std::uint8_t lowestBit;
    std::uint8_t width; // in bits
    CpuidFieldKind kind;
    const char* name;                // as in /proc/cpuinfo where that has one, else after the manual in the same style
    const char* meaning;             // for people, one phrase
    const CpuidUnit* unit = nullptr; // of numbers
    std::uint16_t owners = anyMaker;
};

// One sub-leaf, or those from the first to the last.
struct CpuidSubleaves {
    constexpr CpuidSubleaves(int only)
        : first(static_cast<std::uint16_t>(only)), last(static_cast<std::uint16_t>(only)) {}
    constexpr CpuidSubleaves(int from, int to)
        : first(static_cast<std::uint16_t>(from)), last(static_cast<std::uint16_t>(to)) {}

    std::uint16_t first;
    std::uint16_t last;
};

// A flag of sub-leaf 0 or `subleaf`.
constexpr CpuidField flag(std::uint32_t leaf, std::uint16_t subleaf, CpuidRegister reg, std::uint8_t bit,
                          const char* name, const char* meaning) {
    return {leaf, subleaf, subleaf, reg, bit, 1, CpuidFieldKind::flag, name, meaning};
}

constexpr CpuidField yesNo(std::uint32_t leaf, CpuidSubleaves subleaves, CpuidRegister reg, std::uint8_t bit,
                           const char* name, const char* meaning, std::uint16_t owners = anyMaker) {
    return {leaf, subleaves.first, subleaves.last, reg, bit, 1, CpuidFieldKind::bit, name, meaning, nullptr, owners};
}

// Bits `lowest` to `highest`.
constexpr CpuidField number(std::uint32_t leaf, CpuidSubleaves subleaves, CpuidRegister reg, std::uint8_t highest,
                            std::uint8_t lowest, const CpuidUnit& unit, const char* name, const char* meaning,
                            std::uint16_t owners = anyMaker) {
    return {leaf,
            subleaves.first,
            subleaves.last,
            reg,
            lowest,
            static_cast<std::uint8_t>(highest - lowest + 1),
            CpuidFieldKind::number,
            name,
            meaning,
            &unit,
            owners};
}

constexpr CpuidField text(std::uint32_t leaf, CpuidSubleaves subleaves, CpuidRegister reg, const char* name,
                          const char* meaning, std::uint16_t owners = anyMaker) {
    return {leaf, subleaves.first, subleaves.last, reg, 0, 32, CpuidFieldKind::text, name, meaning, nullptr, owners};
}

constexpr bool fieldsOverlap(const CpuidField& a, const CpuidField& b) {
    return a.leaf == b.leaf && a.reg == b.reg && a.firstSubleaf <= b.lastSubleaf && b.firstSubleaf <= a.lastSubleaf &&
           a.lowestBit < b.lowestBit + b.width && b.lowestBit < a.lowestBit + a.width && (a.owners & b.owners) != 0;
}

// Whether rows ascend by leaf, sub-leaf, register and bit, and no two of one owner overlap.
template <std::size_t count>
constexpr bool fieldsAscend(const CpuidField (&rows)[count]) {
    for (std::size_t i = 0; i < count; ++i) {
        const CpuidField& b = rows[i];
        if (b.width == 0 || b.lowestBit + b.width > 32 || b.firstSubleaf > b.lastSubleaf) {
            return false;
        }
        for (std::size_t j = i; j > 0 && rows[j - 1].leaf == b.leaf && rows[j - 1].reg == b.reg; --j) {
            if (fieldsOverlap(rows[j - 1], b)) {
                return false;
            }
        }
        if (i == 0) {
            continue;
        }
        const CpuidField& a = rows[i - 1];
        const bool sameLeaf = a.leaf == b.leaf && a.firstSubleaf == b.firstSubleaf && a.lastSubleaf == b.lastSubleaf;
        const bool laterLeaf = a.leaf < b.leaf || (a.leaf == b.leaf && a.lastSubleaf < b.firstSubleaf);
        const bool laterField = a.reg < b.reg || (a.reg == b.reg && a.lowestBit <= b.lowestBit);
        if (!laterLeaf && !(sameLeaf && laterField)) {
            return false;
        }
    }
    return true;
}

// Whether no row of the one table overlaps one of the other. Both ascend.
template <std::size_t countA, std::size_t countB>
constexpr bool fieldsAreApart(const CpuidField (&a)[countA], const CpuidField (&b)[countB]) {
    std::size_t start = 0;
    for (const CpuidField& row : a) {
        while (start < countB && b[start].leaf < row.leaf) {
            ++start;
        }
        for (std::size_t i = start; i < countB && b[i].leaf == row.leaf; ++i) {
            if (fieldsOverlap(row, b[i])) {
                return false;
            }
        }
    }
    return true;
}

} // namespace libQuarrow::cpu
