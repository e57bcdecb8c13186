#pragma once

#include <libQuarrow/cpu/x86/decode/fields/extended_flags.h>
#include <libQuarrow/cpu/x86/decode/fields/other_flags.h>
#include <libQuarrow/cpu/x86/decode/fields/standard_flags.h>

// Private to the library: all tables of CPUID fields, as one.

namespace libQuarrow::cpu {

// Calls `visit` with each field, in the order of leaves, sub-leaves, registers and bits within a table.
template <class Visitor>
void forEachCpuidField(Visitor visit) {
    for (const CpuidField& field : standardCpuidFlags) {
        visit(field);
    }
    for (const CpuidField& field : extendedCpuidFlags) {
        visit(field);
    }
    for (const CpuidField& field : otherCpuidFlags) {
        visit(field);
    }
}

} // namespace libQuarrow::cpu
