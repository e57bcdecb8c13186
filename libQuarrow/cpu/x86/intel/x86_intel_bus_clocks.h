#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>

#include <cstdint>

// Private to the library: the bus clocks that Intel's registers encode, from the tables of model-specific registers in
// Intel's manual, volume 4. Thirds of a MHz stand where the manual rounds them (133.33, 083.3).

namespace libQuarrow::cpu {

struct IntelBusClock {
    std::uint32_t code;
    std::uint32_t hertz;
};

constexpr bool sameBusCode(const IntelBusClock& a, const IntelBusClock& b) {
    return a.code == b.code;
}

// MSR_FSB_FREQ (0xCD), bits 2 to 0: Core (100, 133 and 167 MHz only) and Core 2.
constexpr IntelBusClock intelCoreBusClocks[] = {
    {0, 266666667}, {1, 133333333}, {2, 200000000}, {3, 166666667}, {4, 333333333}, {5, 100000000}, {6, 400000000},
};
static_assert(rowsDiffer(intelCoreBusClocks, sameBusCode));

// MSR_FSB_FREQ (0xCD), bits 2 to 0: 45 and 32 nm Atom.
constexpr IntelBusClock intelAtomBusClocks[] = {
    {1, 133333333},
    {3, 166666667},
    {5, 100000000},
    {7, 83333333},
};
static_assert(rowsDiffer(intelAtomBusClocks, sameBusCode));

// MSR_FSB_FREQ (0xCD), bits 3 to 0: Silvermont (up to code 4) and Airmont.
constexpr IntelBusClock intelSilvermontBusClocks[] = {
    {0, 83333333}, {1, 100000000}, {2, 133333333}, {3, 116666667}, {4, 80000000},
    {5, 93333333}, {6, 90000000},  {7, 88888889},  {8, 87500000},
};
static_assert(rowsDiffer(intelSilvermontBusClocks, sameBusCode));

// MSR_EBC_FREQUENCY_ID (0x2C), bits 18 to 16: Pentium 4 from model 2 on. Code 0 changed its meaning with model 3.
constexpr IntelBusClock intelPentium4Model2BusClocks[] = {
    {0, 100000000},
    {1, 133333333},
    {2, 200000000},
    {3, 166666667},
};
static_assert(rowsDiffer(intelPentium4Model2BusClocks, sameBusCode));
constexpr IntelBusClock intelPentium4BusClocks[] = {
    {0, 266666667}, {1, 133333333}, {2, 200000000}, {3, 166666667}, {4, 333333333},
};
static_assert(rowsDiffer(intelPentium4BusClocks, sameBusCode));

} // namespace libQuarrow::cpu
