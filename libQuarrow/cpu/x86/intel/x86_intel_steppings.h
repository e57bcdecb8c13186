#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>

// Private to the library: which core stepping an Intel processor is. After the identification tables in the update
// documents that Intel publishes for each processor line.

namespace libQuarrow::cpu {

// The text of each IntelCoreStepping, by its value.
constexpr const char* intelSteppingTexts[] = {"",   "A0", "A1", "B0", "B1", "B2", "B3", "C0", "C1", "C2", "D0",
                                              "D1", "E0", "E1", "G0", "G1", "K0", "L2", "M0", "M1", "N0", "R0"};
static_assert(rowCount(intelSteppingTexts) == IntelStepping_R0 + 1);
static_assert(rowsAscend(intelSteppingTexts, [](auto a, auto b) { return std::string_view(a) < std::string_view(b); }));

struct SteppingBySignature {
    std::uint32_t signature; // CPUID leaf 1 EAX, stepping bits included
    IntelCoreStepping stepping;
};

// clang-format off
constexpr SteppingBySignature steppingBySignature[] = {
    {0x20650, IntelStepping_B1},
    {0x106E5, IntelStepping_B1},
    {0x20651, IntelStepping_C0},
    {0x206C2, IntelStepping_C0},
    {0x106A4, IntelStepping_C0},
    {0x20652, IntelStepping_C2},
    {0x106A5, IntelStepping_D0},
    {0x20655, IntelStepping_K0},
    {0x106C2, IntelStepping_C0},
    {0x10661, IntelStepping_A1},
    {0x006F5, IntelStepping_B1},
    {0x006F6, IntelStepping_B2},
    {0x006F7, IntelStepping_B3},
    {0x006E8, IntelStepping_C0},
    {0x006EC, IntelStepping_D0},
    {0x006FA, IntelStepping_E1},
    {0x006FB, IntelStepping_G0},
    {0x006F2, IntelStepping_L2},
    {0x006FD, IntelStepping_M0},
    {0x00695, IntelStepping_B1},
    {0x006D6, IntelStepping_B1},
    {0x006D8, IntelStepping_C0},
    {0x00F44, IntelStepping_A0},
    {0x00F24, IntelStepping_B0},
    {0x00F62, IntelStepping_B1},
    {0x00F07, IntelStepping_B2},
    {0x00F33, IntelStepping_C0},
    {0x00F0A, IntelStepping_C1},
    {0x00F27, IntelStepping_C1},
    {0x00F64, IntelStepping_C1},
    {0x00F12, IntelStepping_D0},
    {0x00F34, IntelStepping_D0},
    {0x00F65, IntelStepping_D0},
    {0x00F29, IntelStepping_D1},
    {0x00F13, IntelStepping_E0},
    {0x00F41, IntelStepping_E0},
    {0x00F49, IntelStepping_G1},
    {0x00F25, IntelStepping_M0},
    {0x00F43, IntelStepping_N0},
    {0x00F4A, IntelStepping_R0},
};
// clang-format on
static_assert(rowCount(steppingBySignature) == 40);
static_assert(rowsDiffer(steppingBySignature, [](auto a, auto b) { return a.signature == b.signature; }));

struct SteppingByProcessorNumber {
    std::uint32_t signature; // CPUID leaf 1 EAX, stepping bits included
    const char* processorNumber;
    IntelCoreStepping stepping;
};

// 45 nm Core 2: the same signature was sold in more than one stepping.
// clang-format off
constexpr SteppingByProcessorNumber steppingByProcessorNumber[] = {
    {0x10676, "E8190",  IntelStepping_C0},
    {0x10676, "E8200",  IntelStepping_C0},
    {0x10676, "E8300",  IntelStepping_C0},
    {0x10676, "E5200",  IntelStepping_M0},
    {0x10676, "E7200",  IntelStepping_M0},
    {0x10676, "E7300",  IntelStepping_M0},
    {0x10676, "E8600",  IntelStepping_E0},
    {0x10676, "T9300",  IntelStepping_C0},
    {0x10676, "T9400",  IntelStepping_C0},
    {0x10676, "T9500",  IntelStepping_C0},
    {0x10676, "T9600",  IntelStepping_C0},
    {0x10676, "P7350",  IntelStepping_M0},
    {0x10676, "P8400",  IntelStepping_M0},
    {0x10676, "P8600",  IntelStepping_M0},
    {0x10676, "P9500",  IntelStepping_C0},
    {0x10676, "SL9300", IntelStepping_C0},
    {0x10676, "SL9400", IntelStepping_C0},
    {0x10676, "SP9300", IntelStepping_C0},
    {0x10676, "SP9400", IntelStepping_C0},
    {0x10676, "SU9300", IntelStepping_M0},
    {0x10676, "SU9400", IntelStepping_M0},
    {0x10676, "QX9650", IntelStepping_C0},
    {0x10676, "QX9775", IntelStepping_C0},
    {0x10676, "Q8200",  IntelStepping_M1},
    {0x10676, "X9000",  IntelStepping_M0},
    {0x10677, "QX9650", IntelStepping_C1},
    {0x10677, "QX9770", IntelStepping_C1},
    {0x10677, "Q9300",  IntelStepping_M1},
    {0x10677, "Q9450",  IntelStepping_C1},
    {0x10677, "Q9550",  IntelStepping_C1},
    {0x1067A, "QX9300", IntelStepping_E0},
    {0x1067A, "Q8200",  IntelStepping_R0},
    {0x1067A, "Q9100",  IntelStepping_E0},
    {0x1067A, "Q9400",  IntelStepping_R0},
    {0x1067A, "Q9550",  IntelStepping_E0},
    {0x1067A, "Q9650",  IntelStepping_E0},
    {0x1067A, "E5440",  IntelStepping_E0},
};
// clang-format on
static_assert(rowCount(steppingByProcessorNumber) == 37);
static_assert(rowsDiffer(steppingByProcessorNumber, [](auto a, auto b) {
    return a.signature == b.signature && sameText(a.processorNumber, b.processorNumber);
}));

} // namespace libQuarrow::cpu
