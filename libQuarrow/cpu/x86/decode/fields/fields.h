#pragma once

#include <libQuarrow/cpu/x86/decode/fields/CpuidField.h>

#include <vector>

// Private to the library: all tables of CPUID fields, as one. They are compiled once, in fields.cpp.

namespace libQuarrow::cpu {

struct CpuidFieldTable {
    const CpuidField* begin;
    const CpuidField* end;
};

// The tables of feature flags, then the others. Within a table in the order of leaves, sub-leaves, registers and bits.
const std::vector<CpuidFieldTable>& cpuidFieldTables();

// What a leaf is about, in a few words.
struct CpuidLeafTitle {
    std::uint32_t leaf;
    std::uint16_t firstSubleaf;
    std::uint16_t lastSubleaf;
    const char* title;
    std::uint16_t owners = anyMaker;
};

const std::vector<CpuidLeafTitle>& cpuidLeafTitles();

// Calls `visit` with each field.
template <class Visitor>
void forEachCpuidField(Visitor visit) {
    for (const CpuidFieldTable& table : cpuidFieldTables()) {
        for (const CpuidField* field = table.begin; field != table.end; ++field) {
            visit(*field);
        }
    }
}

} // namespace libQuarrow::cpu
