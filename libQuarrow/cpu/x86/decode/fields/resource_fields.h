#pragma once

#include <libQuarrow/cpu/x86/decode/fields/field_units.h>

// Private to the library: what the leaves of resource monitoring and allocation tell beside feature flags. Hybrids tell
// it for the whole machine in leaves 0xF and 0x10, and for each kind of processor in 0x27 and 0x28, laid out alike.
// Sources: Intel document 356688 (RDT architecture), and intel-cmt-cat, lib/hybrid.c, by Intel, for the bits.

namespace libQuarrow::cpu {
namespace cpuid_fields {

constexpr std::uint32_t commonMonitoring = 0x0000000F;
constexpr std::uint32_t commonAllocation = 0x00000010;
constexpr std::uint32_t asymmetricMonitoring = 0x00000027;
constexpr std::uint32_t asymmetricAllocation = 0x00000028;

// clang-format off
template <std::uint32_t leaf>
inline constexpr CpuidField monitoringFields[] = {
    number(leaf, 0,      ebx, 31,  0, decimal,        "max_rmid",               "Highest monitoring ID of any resource"),
    number(leaf, 1,      eax,  7,  0, bitsLess24,     "l3_counter_width",       "Width of the counters"),
    yesNo (leaf, 1,      eax,  8,                     "l3_counter_overflow",    "Bit 61 of a counter tells that it overflowed"),
    yesNo (leaf, 1,      eax,  9,                     "l3_io_occupancy",        "Occupancy by I/O agents"),
    yesNo (leaf, 1,      eax, 10,                     "l3_io_bandwidth",        "Bandwidth of I/O agents"),
    number(leaf, 1,      ebx, 31,  0, bytes,          "l3_counter_scale",       "What a count stands for"),
    number(leaf, 1,      ecx, 31,  0, decimal,        "l3_max_rmid",            "Highest monitoring ID of the L3"),
};
template <std::uint32_t leaf>
inline constexpr CpuidField allocationFields[] = {
    yesNo (leaf, 0,      ebx,  5,                     "cba",                    "Allocation of cache bandwidth"),
    yesNo (leaf, 0,      ebx,  6,                     "resource_priority",      "Resource priority"),
    number(leaf, {1, 2}, eax,  4,  0, bitsLessOne,    "capacity_mask_length",   "Length of a capacity mask"),
    number(leaf, {1, 2}, ebx, 31,  0, hex,            "capacity_mask_shared",   "Parts that others may use too"),
    yesNo (leaf, {1, 2}, ecx,  1,                     "capacity_io_agents",     "I/O agents can be given a class"),
    yesNo (leaf, {1, 2}, ecx,  3,                     "capacity_noncontiguous", "A mask may have holes"),
    number(leaf, {1, 2}, edx, 15,  0, decimal,        "max_class",              "Highest class of service"),
    number(leaf, 3,      eax, 11,  0, percentLessOne, "mba_max_delay",          "Largest throttling"),
    yesNo (leaf, 3,      ecx,  2,                     "mba_linear",             "Throttling is linear"),
    number(leaf, 3,      edx, 15,  0, decimal,        "mba_max_class",          "Highest class of service"),
    number(leaf, 5,      eax,  7,  0, lessOne,        "cba_levels",             "Levels of throttling of cache bandwidth"),
    number(leaf, 5,      eax, 11,  8, hex,            "cba_scope",              "Scope of that throttling"),
    yesNo (leaf, 5,      ecx,  3,                     "cba_linear",             "Throttling is linear"),
    number(leaf, 5,      edx, 15,  0, decimal,        "cba_max_class",          "Highest class of service"),
    yesNo (leaf, 6,      eax,  0,                     "priority_by_thread",     "Priority can be enabled for a thread"),
    yesNo (leaf, 6,      eax,  1,                     "priority_by_package",    "Priority can be enabled for the package"),
};

// What leaves 0xF and 0x10 tell in feature flags.
inline constexpr CpuidField asymmetricFields[] = {
    yesNo (asymmetricMonitoring, 0,      edx,  1,     "l3_monitoring",          "Monitoring of the L3"),
    yesNo (asymmetricMonitoring, 1,      edx,  0,     "l3_occupancy",           "Occupancy of the L3"),
    yesNo (asymmetricMonitoring, 1,      edx,  1,     "l3_total_bandwidth",     "Total memory bandwidth"),
    yesNo (asymmetricMonitoring, 1,      edx,  2,     "l3_local_bandwidth",     "Local memory bandwidth"),
    yesNo (asymmetricAllocation, 0,      ebx,  1,     "l3_allocation",          "Allocation of the L3"),
    yesNo (asymmetricAllocation, 0,      ebx,  2,     "l2_allocation",          "Allocation of the L2"),
    yesNo (asymmetricAllocation, 0,      ebx,  3,     "memory_allocation",      "Allocation of memory bandwidth"),
    yesNo (asymmetricAllocation, {1, 2}, ecx,  2,     "code_and_data",          "Code and data prioritisation"),
    yesNo (asymmetricAllocation, 3,      ecx,  0,     "mba_by_thread",          "Allocation of memory bandwidth by thread"),
};
// clang-format on
static_assert(fieldsAscend(monitoringFields<commonMonitoring>));
static_assert(fieldsAscend(allocationFields<commonAllocation>));
static_assert(fieldsAscend(asymmetricFields));

} // namespace cpuid_fields
} // namespace libQuarrow::cpu
