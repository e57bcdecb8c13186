#pragma once

#include <libQuarrow/quarrow_export.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace libQuarrow::topology {

// What CPUID answered to one leaf and sub-leaf.
struct CpuidAnswer {
    std::uint32_t leaf = 0;
    std::uint32_t subleaf = 0; // 0 where the leaf has none
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

enum class LeafRegister { eax, ebx, ecx, edx };

// "eax" to "edx".
QUARROW_EXPORT const char* nameOf(LeafRegister reg);
QUARROW_EXPORT std::uint32_t valueOf(const CpuidAnswer& answer, LeafRegister reg);

enum class LeafFieldKind {
    flag,   // a feature, by the name that FeatureSet knows
    bit,    // yes or no, but no feature
    number, // a number, or one of several things
    text,   // four characters
};

// "flag", "bit", "number", "text".
QUARROW_EXPORT const char* nameOf(LeafFieldKind kind);

// A field of an answer, with its value.
struct LeafField {
    std::string_view name;    // unique within an answer; stays as it is from version to version
    std::string_view meaning; // one phrase
    LeafRegister reg = LeafRegister::eax;
    std::uint8_t lowestBit = 0;
    std::uint8_t width = 0; // bits
    LeafFieldKind kind = LeafFieldKind::number;
    std::uint32_t raw = 0; // the bits as they stand there
    // The number that they mean, in `unit`: sets that are stored less 1 are not less 1 here. 0 for a power of two that
    // has more than 64 bits.
    std::uint64_t value = 0;
    std::string_view unit; // "bytes", "KB" (1024 bytes), "MHz", "bits" ...; may be empty
    std::string word;      // what the number stands for ("data", "8 ways"), or the characters of a text; else empty
    std::string shown;     // for people: "64 bytes", "data", "yes", "\"Genu\""
};

// What there is to say of an answer.
struct LeafDescription {
    std::string_view title;                 // "Caches"; empty for a leaf that is not known
    std::vector<LeafField> fields;          // all that the answer has, set or not, by register and bit
    std::array<std::uint32_t, 4> unknown{}; // the set bits of EAX to EDX that no field has
};

} // namespace libQuarrow::topology
