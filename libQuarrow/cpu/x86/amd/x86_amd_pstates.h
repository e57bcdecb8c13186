#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>

#include <boost/optional.hpp>

#include <cstdint>

// Private to the library: how each AMD family encodes the frequency of a P-state (MSRC001_0064 and following; the same
// bits of COFVID Status, MSRC001_0071, for the current one).

namespace libQuarrow::cpu {

enum class AmdPStateLayout {
    FidPlus16Did, // bits 5:0 FID, 8:6 DID: 100 MHz * (FID + 16) / 2^DID
    FidPlus8Did,  // the same with FID + 8
    FidDivisor,   // bits 8:4 FID, 3:0 DID: 100 MHz * (FID + 16) / amdDidDivisors[DID]
    PllDid,       // bits 8:4 whole, 3:0 quarters: main PLL / (whole + quarters / 4 + 1)
    FidDfs,       // bits 7:0 FID, 13:8 DfsId (in eighths): 200 MHz * FID / DfsId
    Fid5MHz,      // bits 11:0 FID: 5 MHz * FID
};

struct AmdPStateFamily {
    std::uint8_t family;    // display family
    std::uint8_t lastModel; // row for display models up to this one
    AmdPStateLayout layout;
    std::uint16_t busMHz;   // reference clock
    std::uint8_t registers; // P-state registers, from MSRC001_0064 on
    bool northbridgeTells;  // the northbridge has the last P-state (D18F3xDC) and the boost states (D18F4x15C)
};

// From the BIOS and kernel developer's guides (families 0x10 to 0x16: 31116, 41256, 41131, 43170, 42301, 48751)
// and the processor programming references (0x17 and later: 54945, 55898, 57238), P-state registers. In ascending
// order; the first row that fits counts.
// clang-format off
constexpr AmdPStateFamily amdPStateFamilies[] = {
    {0x10, 0xFF, AmdPStateLayout::FidPlus16Did, 200, 5, true},
    {0x11, 0xFF, AmdPStateLayout::FidPlus8Did,  200, 8, false},
    {0x12, 0xFF, AmdPStateLayout::FidDivisor,   100, 8, true},
    {0x14, 0xFF, AmdPStateLayout::PllDid,       100, 8, true},
    {0x15, 0x0F, AmdPStateLayout::FidPlus16Did, 200, 8, true}, // server and FX parts; the APUs after them have 100 MHz
    {0x15, 0xFF, AmdPStateLayout::FidPlus16Did, 100, 8, true},
    {0x16, 0xFF, AmdPStateLayout::FidPlus16Did, 100, 8, true},
    {0x17, 0xFF, AmdPStateLayout::FidDfs,       100, 8, false},
    {0x19, 0xFF, AmdPStateLayout::FidDfs,       100, 8, false},
    {0x1A, 0xFF, AmdPStateLayout::Fid5MHz,      100, 8, false},
};
// clang-format on
static_assert(rowsAscend(amdPStateFamilies, [](auto a, auto b) {
    return a.family < b.family || (a.family == b.family && a.lastModel < b.lastModel);
}));

// By display family and model.
inline boost::optional<AmdPStateFamily> amdPStateFamily(std::uint32_t family, std::uint32_t model) {
    for (const AmdPStateFamily& row : amdPStateFamilies) {
        if (row.family == family && model <= row.lastModel) {
            return row;
        }
    }
    return boost::none;
}

// Family 0x12: divisors that CpuDid 0 to 8 stands for.
constexpr double amdDidDivisors[] = {1, 1.5, 2, 3, 4, 6, 8, 12, 16};
static_assert(rowCount(amdDidDivisors) == 9);

} // namespace libQuarrow::cpu
