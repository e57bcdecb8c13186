#pragma once

#include <libQuarrow/cpu/x86/decode/fields/extended_fields.h>
#include <libQuarrow/cpu/x86/decode/fields/extended_flags.h>
#include <libQuarrow/cpu/x86/decode/fields/standard_fields.h>
#include <libQuarrow/cpu/x86/decode/fields/standard_flags.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>

// Private to the library: the fields of standard and extended leaves by name, for whoever reads one; those of
// resource_fields.h nobody reads. A name is looked up while the compiler runs, and one that the sub-leaf does not have,
// or has twice, does not compile.

namespace libQuarrow::cpu {

constexpr bool sameName(const char* a, const char* b) {
    for (; *a == *b && *a != 0; ++a, ++b) {
    }
    return *a == *b;
}

// Of an ascending table, beside what another one had.
template <std::size_t count>
constexpr const CpuidField* findField(const CpuidField (&rows)[count], std::uint32_t leaf, std::uint32_t subleaf,
                                      const char* name, const CpuidField* found = nullptr) {
    std::size_t first = 0;
    for (std::size_t behind = count; first < behind;) {
        const std::size_t middle = (first + behind) / 2;
        (rows[middle].leaf < leaf ? first : behind) = rows[middle].leaf < leaf ? middle + 1 : middle;
    }
    for (; first < count && rows[first].leaf == leaf; ++first) {
        const CpuidField& row = rows[first];
        if (row.firstSubleaf <= subleaf && subleaf <= row.lastSubleaf && sameName(name, row.name)) {
            found = found == nullptr ? &row : throw std::logic_error("two fields of the leaf have that name");
        }
    }
    return found;
}

constexpr const CpuidField& fieldNamed(std::uint32_t leaf, std::uint32_t subleaf, const char* name) {
    constexpr std::uint32_t firstExtendedLeaf = 0x80000000;
    const CpuidField* const found = leaf < firstExtendedLeaf
                                        ? findField(cpuid_fields::standardFields, leaf, subleaf, name,
                                                    findField(standardCpuidFlags, leaf, subleaf, name))
                                        : findField(cpuid_fields::extendedFields, leaf, subleaf, name,
                                                    findField(extendedCpuidFlags, leaf, subleaf, name));
    return found != nullptr ? *found : throw std::logic_error("no field of the leaf has that name");
}

} // namespace libQuarrow::cpu
