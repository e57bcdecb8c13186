#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>

#include <cstdint>

// Private to the library: which Intel processors differ from the newest servers in the registers of their limits.
// Intel's manual, volume 4, the tables of model-specific registers of each generation, and the Linux kernel's turbostat
// and intel_tcc, which know the layouts of the models that the manual names together.

namespace libQuarrow::topology {

// Whether no MSR 0x1A2 or 0x1AD is documented of it: parts before Nehalem, and Atoms before Silvermont. Families from
// 12h on are newer than family 6.
constexpr bool isIntelBeforeNehalem(std::uint32_t family, std::uint32_t model) {
    const bool old = model < 0x1A || model == 0x1C || model == 0x1D || model == 0x26 || model == 0x27 ||
                     model == 0x35 || model == 0x36;
    return family == 6 ? old : family < 0x12;
}

// What MSR_TURBO_RATIO_LIMIT (0x1AD) and those after it hold, a byte each, the lowest first.
enum class IntelTurboTable : std::uint8_t {
    none,           // nothing, or nothing that is documented so
    cores8,         // 0x1AD: ratios with 1 to 8 active cores
    cores15,        // 0x1AE: with 9 to 15 as well
    cores18,        // 0x1AE: with 9 to 16, 0x1AF: with 17 and more as well
    groups,         // 0x1AD: ratios with as many active cores as 0x1AE says
    groupsOrCores8, // the same where 0x1AE can be read, else with 1 to 8: parts for clients, some of which lack it
};

// How far below its temperature MSR_TEMPERATURE_TARGET (0x1A2) says that the processor throttles.
enum class IntelOffset : std::uint8_t {
    none,
    fourBits, // bits 27 to 24, where MSR_PLATFORM_INFO (0xCE) bit 30 says so
    sixBits,  // bits 29 to 24, on the same condition
    always,   // bits 29 to 24
};

struct IntelModelRow {
    std::uint32_t model; // of family 6
    IntelTurboTable turbo;
    IntelOffset offset;
};

// Models from Nehalem and Silvermont on that are not as the rule below the table, which is that of servers. Ascending.
// clang-format off
constexpr IntelModelRow intelModels[] = {
    {0x1A, IntelTurboTable::cores8,         IntelOffset::none},     // Nehalem-EP
    {0x1E, IntelTurboTable::cores8,         IntelOffset::none},     // Nehalem
    {0x1F, IntelTurboTable::cores8,         IntelOffset::none},     // Nehalem
    {0x25, IntelTurboTable::cores8,         IntelOffset::none},     // Westmere
    {0x2A, IntelTurboTable::cores8,         IntelOffset::none},     // Sandy Bridge
    {0x2C, IntelTurboTable::cores8,         IntelOffset::none},     // Westmere-EP
    {0x2D, IntelTurboTable::cores8,         IntelOffset::none},     // Sandy Bridge-E
    {0x2E, IntelTurboTable::none,           IntelOffset::none},     // Nehalem-EX: reserved
    {0x2F, IntelTurboTable::none,           IntelOffset::none},     // Westmere-EX: reserved
    {0x37, IntelTurboTable::none,           IntelOffset::always},   // Silvermont: other registers
    {0x3A, IntelTurboTable::cores8,         IntelOffset::fourBits}, // Ivy Bridge
    {0x3C, IntelTurboTable::cores8,         IntelOffset::fourBits}, // Haswell
    {0x3D, IntelTurboTable::cores8,         IntelOffset::sixBits},  // Broadwell
    {0x3E, IntelTurboTable::cores15,        IntelOffset::fourBits}, // Ivy Bridge-E
    {0x3F, IntelTurboTable::cores18,        IntelOffset::fourBits}, // Haswell-E
    {0x45, IntelTurboTable::cores8,         IntelOffset::fourBits}, // Haswell
    {0x46, IntelTurboTable::cores8,         IntelOffset::fourBits}, // Haswell
    {0x47, IntelTurboTable::cores8,         IntelOffset::sixBits},  // Broadwell
    {0x4A, IntelTurboTable::none,           IntelOffset::always},   // Silvermont: other registers
    {0x4C, IntelTurboTable::none,           IntelOffset::always},   // Airmont: other registers
    {0x4D, IntelTurboTable::cores8,         IntelOffset::always},   // Silvermont server
    {0x4E, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Skylake
    {0x4F, IntelTurboTable::cores18,        IntelOffset::fourBits}, // Broadwell-E
    {0x55, IntelTurboTable::groups,         IntelOffset::fourBits}, // Skylake-SP and its successors
    {0x56, IntelTurboTable::cores18,        IntelOffset::fourBits}, // Broadwell-DE
    {0x57, IntelTurboTable::none,           IntelOffset::sixBits},  // Knights Landing: a layout of its own
    {0x5A, IntelTurboTable::none,           IntelOffset::always},   // Silvermont: other registers
    {0x5C, IntelTurboTable::groups,         IntelOffset::always},   // Goldmont
    {0x5D, IntelTurboTable::none,           IntelOffset::always},   // Silvermont: other registers
    {0x5E, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Skylake
    {0x5F, IntelTurboTable::groups,         IntelOffset::always},   // Goldmont server
    {0x66, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Cannon Lake
    {0x75, IntelTurboTable::none,           IntelOffset::always},   // Airmont
    {0x7A, IntelTurboTable::groups,         IntelOffset::always},   // Goldmont Plus
    {0x7D, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Ice Lake
    {0x7E, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Ice Lake
    {0x85, IntelTurboTable::none,           IntelOffset::sixBits},  // Knights Mill: a layout of its own
    {0x8C, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Tiger Lake
    {0x8D, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Tiger Lake
    {0x8E, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Kaby Lake and its successors
    {0x97, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Alder Lake
    {0x9A, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Alder Lake
    {0x9E, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Kaby Lake and its successors
    {0xA5, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Comet Lake
    {0xA6, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Comet Lake
    {0xA7, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Rocket Lake
    {0xAA, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Meteor Lake
    {0xAC, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Meteor Lake
    {0xB5, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Arrow Lake
    {0xB7, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Raptor Lake
    {0xBA, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Raptor Lake
    {0xBD, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Lunar Lake
    {0xBE, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Alder Lake-N
    {0xBF, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Raptor Lake
    {0xC5, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Arrow Lake
    {0xC6, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Arrow Lake
    {0xCC, IntelTurboTable::groupsOrCores8, IntelOffset::sixBits},  // Panther Lake
};
// clang-format on
static_assert(cpu::rowsAscend(intelModels, [](auto a, auto b) { return a.model < b.model; }));

// Of any model of Nehalem and Silvermont or later.
constexpr IntelModelRow intelModelRow(std::uint32_t family, std::uint32_t model) {
    for (const IntelModelRow& row : intelModels) {
        if (family == 6 && row.model == model) {
            return row;
        }
    }
    return {model, IntelTurboTable::groups, IntelOffset::sixBits};
}

} // namespace libQuarrow::topology
