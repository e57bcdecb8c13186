#pragma once

#include <cstddef>
#include <cstdint>

// Private to the library: the rows of the tables of processor names.

namespace libQuarrow::topology {

// Where a row's names stand. Several documents of a kind are told apart by the family that they are for.
enum class NameSource {
    SdmModels,      // Intel SDM volume 4, table 2-1: processors by DisplayFamily_DisplayModel
    SpecUpdate,     // Intel data sheets and their updates: component identification by CPUID
    LinuxFamilies,  // Linux, intel-family.h: models that Intel has added before it published the processor
    RevisionGuide,  // the AMD revision guide of that family
    ProgrammingRef, // the AMD processor programming reference of those models
    DataSheet,      // the maker's data sheet or programmer's manual of that product
    KernelModels,   // Linux, cpu/amd.c, cpu/hygon.c, cpu/vortex.c and the perf drivers: generations by model
    Dumps,          // public CPUID dumps, whose collectors name the product
    CompilerModels, // gcc cpuinfo.h and the Zhaoxin perf driver of Linux: models by generation, contributed by the
                    // maker
};

// A signature and its names. Null: not known, or not the same for all of these.
struct NameRow {
    std::uint16_t family;
    std::uint16_t firstModel;
    std::uint16_t lastModel;
    std::uint8_t firstStepping;
    std::uint8_t lastStepping;
    const char* microarchitecture;
    const char* codename;
    const char* process;
    NameSource source;
};

// Products of one signature that have a codename of their own. The first row whose signature fits and whose word is in
// the brand string counts.
struct BrandRow {
    std::uint16_t family;
    std::uint16_t firstModel;
    std::uint16_t lastModel;
    std::uint8_t firstStepping;
    std::uint8_t lastStepping;
    const char* word;
    const char* codename;
};

// The cores beside the performance cores of a hybrid, whose own microarchitecture stands in its NameRow.
struct HybridRow {
    std::uint16_t family;
    std::uint16_t model;
    const char* efficient;
    const char* lowPower;
};

// What the maker calls a stepping.
struct SteppingRow {
    std::uint16_t family;
    std::uint16_t firstModel;
    std::uint16_t lastModel;
    std::uint8_t stepping;
    const char* name;
};

// The package that a package type stands for.
struct PackageRow {
    std::uint16_t family;
    std::uint16_t firstModel;
    std::uint16_t lastModel;
    std::uint8_t type;
    const char* name;
};

// What tells rows of the same models apart: the steppings that a row is for, or its package type.
constexpr std::uint8_t firstOf(const NameRow& row) {
    return row.firstStepping;
}
constexpr std::uint8_t lastOf(const NameRow& row) {
    return row.lastStepping;
}
constexpr std::uint8_t firstOf(const SteppingRow& row) {
    return row.stepping;
}
constexpr std::uint8_t lastOf(const SteppingRow& row) {
    return row.stepping;
}
constexpr std::uint8_t firstOf(const PackageRow& row) {
    return row.type;
}
constexpr std::uint8_t lastOf(const PackageRow& row) {
    return row.type;
}

// Whether rows are in ascending order and none overlaps the next: one signature has one row.
template <class Row, std::size_t count>
constexpr bool signaturesAscend(const Row (&rows)[count]) {
    for (std::size_t i = 0; i < count; ++i) {
        const Row& b = rows[i];
        if (b.firstModel > b.lastModel || firstOf(b) > lastOf(b) || lastOf(b) > 15) {
            return false;
        }
        if (i == 0) {
            continue;
        }
        const Row& a = rows[i - 1];
        const bool sameModel = a.family == b.family && a.firstModel == b.firstModel && a.lastModel == b.lastModel;
        const bool laterModel = a.family < b.family || (a.family == b.family && a.lastModel < b.firstModel);
        if (!laterModel && !(sameModel && lastOf(a) < firstOf(b))) {
            return false;
        }
    }
    return true;
}

} // namespace libQuarrow::topology
