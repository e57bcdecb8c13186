#pragma once

#include <cstddef>
#include <cstdint>

// Private to the library: the rows of the tables of processor names.

namespace libQuarrow::topology {

// Where a row's names stand. Makers' own documents are no source: none was read for them.
enum class NameSource {
    Cpuid,          // the cpuid program (Debian's 20230120) names the core, the product and the process by signature
    Libcpuid,       // libcpuid, recog_intel.c, recog_amd.c and recog_centaur.c of 2025, does so by signature and brand
    LinuxFamilies,  // Linux, intel-family.h of 2026, which Intel contributes; processes as the press has them
    KernelModels,   // Linux, cpu/amd.c of 2026 and cpu/vortex.c: generations by model; illumos, cpuid_subr.c: codenames
    CompilerModels, // gcc, cpuinfo.h of 2026: Zhaoxin's models, contributed by the maker
    Dumps,          // public CPUID dumps, whose collectors name the product; processes by libcpuid
    Press,          // magazines, collectors and encyclopedias
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
