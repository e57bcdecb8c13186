#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>

#include <cstdint>

// Private to the library: at which temperature the thermal control circuit of parts without a register for it acts.
// After the thermal chapters of Intel's data sheets for these parts.

namespace libQuarrow::cpu {

struct TccActivation {
    std::uint32_t celsius;
    std::uint32_t signature;    // CPUID leaf 1 EAX, stepping bits included
    std::uint32_t designedMHz;  // 0: any
    std::uint32_t l2KB;         // tells the reader which part it is; not looked at
    const char* brandFragments; // one of these, separated by ";", occurs in the brand string; null: any. Blanks count.
};

// Several rows can fit one processor. The last one decides: at 2660 MHz row 6 takes every 0x6F5 from row 5.
// clang-format off
constexpr TccActivation tccActivationTable[] = {
    {100, 0x006F2, 2000, 2048, nullptr},
    { 85, 0x006F2, 1860, 2048, " 6300"},
    { 85, 0x006F2, 2130, 2048, " 6400"},
    { 85, 0x006F5, 2400, 4096, " 6600"},
    { 85, 0x006F5, 2660, 4096, " 6700"},
    {100, 0x006F5, 2660, 8192, nullptr},
    { 85, 0x006F5, 2930, 4096, " X6800"},
    { 85, 0x006F6, 2130, 2048, " 6400"},
    { 85, 0x006F6, 2400, 4096, " 6600"},
    {100, 0x006F7, 2400, 8192, "Quad CPU"},
    {100, 0x006F7, 2660, 8192, "Quad CPU"},
    { 85, 0x006FB, 2330, 4096, " E6550"},
    { 85, 0x006FB, 2660, 4096, " E6750"},
    { 85, 0x006FB, 3000, 4096, " E6850"},
    {100, 0x006FB, 3000, 8192, " Q6850"},
    { 85, 0x006F7, 2930, 4096, " X6800"},
    {100, 0x006FB, 2660, 4096, " Q6700"},
    {100, 0x006FB, 2600, 2048, " E4700"},
    { 85, 0x10661, 2000,  512, " 440"},
    { 95, 0x1067A, 2830, 6144, " E5440"},
};
// clang-format on
static_assert(rowCount(tccActivationTable) == 20);
static_assert(everyRow(tccActivationTable, [](auto row) { return row.celsius >= 85 && row.celsius <= 100; }));
static_assert(rowsDiffer(tccActivationTable, [](auto a, auto b) {
    const bool sameFragments = a.brandFragments == nullptr || b.brandFragments == nullptr
                                   ? a.brandFragments == b.brandFragments
                                   : sameText(a.brandFragments, b.brandFragments);
    return a.signature == b.signature && a.designedMHz == b.designedMHz && sameFragments;
}));

struct AtomTemperature {
    const char* processorNumbers; // the first character separates
    std::uint32_t celsius;
};

// Intel's Atom data sheets, thermal chapters.
constexpr AtomTemperature atomTemperatures[] = {
    {";N450;N470;N455;N475;N550;N570;D410;D510", 100},
    {";230;330;N270;Z500;Z510;Z515;Z520;Z530;Z530P;Z540;Z550;Z510P;Z2760", 90},
    {";Z520PT;Z510PT", 110},
};

} // namespace libQuarrow::cpu
