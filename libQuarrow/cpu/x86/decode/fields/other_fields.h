#pragma once

#include <libQuarrow/cpu/x86/decode/fields/field_units.h>

// Private to the library: what the leaves of few makers tell beside feature flags. Sources stand above each group of
// rows.

namespace libQuarrow::cpu {
namespace cpuid_fields {

// clang-format off
inline constexpr CpuidField otherFields[] = {
    // Intel Xeon Phi system software developer's guide, leaf 0x20000000
    number(0x20000000, 0, eax, 31,  0, hex,           "max_phi_leaf",        "Highest leaf of this range"),
    // Transmeta, processor recognition
    number(0x80860000, 0, eax, 31,  0, hex,           "max_transmeta_leaf",  "Highest leaf of this range"),
    text  (0x80860000, 0, ebx,                        "vendor_0",            "Maker, characters 0 to 3", transmetaOwner),
    text  (0x80860000, 0, ecx,                        "vendor_2",            "Maker, characters 8 to 11", transmetaOwner),
    text  (0x80860000, 0, edx,                        "vendor_1",            "Maker, characters 4 to 7", transmetaOwner),
    number(0x80860001, 0, eax,  3,  0, decimal,       "stepping",            "Stepping", transmetaOwner),
    number(0x80860001, 0, eax,  7,  4, decimal,       "base_model",          "Model", transmetaOwner),
    number(0x80860001, 0, eax, 11,  8, decimal,       "base_family",         "Family", transmetaOwner),
    number(0x80860001, 0, eax, 13, 12, processorType, "processor_type",      "Type of processor", transmetaOwner),
    number(0x80860001, 0, ebx,  7,  0, decimal,       "revision_mask_minor", "Revision of the processor, mask, minor", transmetaOwner),
    number(0x80860001, 0, ebx, 15,  8, decimal,       "revision_mask_major", "Revision of the processor, mask, major", transmetaOwner),
    number(0x80860001, 0, ebx, 23, 16, decimal,       "revision_minor",      "Revision of the processor, minor", transmetaOwner),
    number(0x80860001, 0, ebx, 31, 24, decimal,       "revision_major",      "Revision of the processor, major", transmetaOwner),
    number(0x80860001, 0, ecx, 31,  0, megahertz,     "nominal_frequency",   "Nominal frequency", transmetaOwner),
    number(0x80860002, 0, eax, 31,  0, hex,           "hardware_revision",   "Revision of the processor", transmetaOwner),
    number(0x80860002, 0, ebx,  7,  0, decimal,       "software_mask_2",     "Code morphing software, mask, second part", transmetaOwner),
    number(0x80860002, 0, ebx, 15,  8, decimal,       "software_mask_1",     "Code morphing software, mask, first part", transmetaOwner),
    number(0x80860002, 0, ebx, 23, 16, decimal,       "software_minor",      "Code morphing software, minor version", transmetaOwner),
    number(0x80860002, 0, ebx, 31, 24, decimal,       "software_major",      "Code morphing software, major version", transmetaOwner),
    number(0x80860002, 0, ecx, 31,  0, hex,           "software_mask_3",     "Code morphing software, mask, third part", transmetaOwner),
    text  (0x80860003, 0, eax,                        "information_0",       "Information, characters 0 to 3", transmetaOwner),
    text  (0x80860003, 0, ebx,                        "information_1",       "Information, characters 4 to 7", transmetaOwner),
    text  (0x80860003, 0, ecx,                        "information_2",       "Information, characters 8 to 11", transmetaOwner),
    text  (0x80860003, 0, edx,                        "information_3",       "Information, characters 12 to 15", transmetaOwner),
    text  (0x80860004, 0, eax,                        "information_4",       "Information, characters 16 to 19", transmetaOwner),
    text  (0x80860004, 0, ebx,                        "information_5",       "Information, characters 20 to 23", transmetaOwner),
    text  (0x80860004, 0, ecx,                        "information_6",       "Information, characters 24 to 27", transmetaOwner),
    text  (0x80860004, 0, edx,                        "information_7",       "Information, characters 28 to 31", transmetaOwner),
    text  (0x80860005, 0, eax,                        "information_8",       "Information, characters 32 to 35", transmetaOwner),
    text  (0x80860005, 0, ebx,                        "information_9",       "Information, characters 36 to 39", transmetaOwner),
    text  (0x80860005, 0, ecx,                        "information_10",      "Information, characters 40 to 43", transmetaOwner),
    text  (0x80860005, 0, edx,                        "information_11",      "Information, characters 44 to 47", transmetaOwner),
    text  (0x80860006, 0, eax,                        "information_12",      "Information, characters 48 to 51", transmetaOwner),
    text  (0x80860006, 0, ebx,                        "information_13",      "Information, characters 52 to 55", transmetaOwner),
    text  (0x80860006, 0, ecx,                        "information_14",      "Information, characters 56 to 59", transmetaOwner),
    text  (0x80860006, 0, edx,                        "information_15",      "Information, characters 60 to 63", transmetaOwner),
    number(0x80860007, 0, eax, 31,  0, megahertz,     "current_frequency",   "Current frequency", transmetaOwner),
    number(0x80860007, 0, ebx, 31,  0, millivolts,    "current_voltage",     "Current voltage", transmetaOwner),
    number(0x80860007, 0, ecx, 31,  0, percent,       "current_performance", "Current performance, of LongRun's range", transmetaOwner),
    number(0x80860007, 0, edx, 31,  0, femtoseconds,  "gate_delay",          "Gate delay", transmetaOwner),
    // AMD K6 and later: characters that the makers left there
    text  (0x8FFFFFFE, 0, eax,                        "greeting_0",          "Characters 0 to 3", amdOwner),
    text  (0x8FFFFFFE, 0, ebx,                        "greeting_1",          "Characters 4 to 7", amdOwner),
    text  (0x8FFFFFFE, 0, ecx,                        "greeting_2",          "Characters 8 to 11", amdOwner),
    text  (0x8FFFFFFE, 0, edx,                        "greeting_3",          "Characters 12 to 15", amdOwner),
    text  (0x8FFFFFFF, 0, eax,                        "greeting_0",          "Characters 0 to 3", amdOwner),
    text  (0x8FFFFFFF, 0, ebx,                        "greeting_1",          "Characters 4 to 7", amdOwner),
    text  (0x8FFFFFFF, 0, ecx,                        "greeting_2",          "Characters 8 to 11", amdOwner),
    text  (0x8FFFFFFF, 0, edx,                        "greeting_3",          "Characters 12 to 15", amdOwner),
    // VIA and Zhaoxin, PadLock and Gm programming guides
    number(0xC0000000, 0, eax, 31,  0, hex,           "max_centaur_leaf",    "Highest leaf of this range"),
    number(0xC0000001, 0, eax,  3,  0, decimal,       "stepping",            "Stepping", centaurOwner),
    number(0xC0000001, 0, eax,  7,  4, decimal,       "base_model",          "Model, lower half", centaurOwner),
    number(0xC0000001, 0, eax, 11,  8, decimal,       "base_family",         "Family", centaurOwner),
    number(0xC0000001, 0, eax, 13, 12, processorType, "processor_type",      "Type of processor", centaurOwner),
    number(0xC0000001, 0, eax, 19, 16, decimal,       "ext_model",           "Model, upper half", centaurOwner),
    number(0xC0000001, 0, eax, 27, 20, decimal,       "ext_family",          "Extended family", centaurOwner),
};
// clang-format on
static_assert(fieldsAscend(otherFields));

} // namespace cpuid_fields
} // namespace libQuarrow::cpu
