#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <cstdint>

// Private to the library: the bus clocks of Intel processors in MHz, from the tables of model-specific registers in
// Intel's manual, volume 4. They stand as the fractions that the manual rounds (133.33, 083.3, 088.9), so that a
// multiple of one is as exact as a multiple of 100.

namespace libQuarrow::cpu {

struct IntelBusClock {
    std::uint32_t code;
    double megahertz;
};

constexpr bool sameBusCode(const IntelBusClock& a, const IntelBusClock& b) {
    return a.code == b.code;
}

// MSR_FSB_FREQ (0xCD), bits 2 to 0: Core (100, 133 and 167 MHz only) and Core 2.
constexpr IntelBusClock intelCoreBusClocks[] = {
    {0, 800.0 / 3}, {1, 400.0 / 3}, {2, 200}, {3, 500.0 / 3}, {4, 1000.0 / 3}, {5, 100}, {6, 400},
};
static_assert(rowsDiffer(intelCoreBusClocks, sameBusCode));

// MSR_FSB_FREQ (0xCD), bits 2 to 0: 45 and 32 nm Atom. The manual leaves out code 2, Core 2's, which the parts with an
// 800 MT/s bus have (D525: 1.80 GHz is 9 times 200 MHz).
constexpr IntelBusClock intelAtomBusClocks[] = {
    {1, 400.0 / 3}, {2, 200}, {3, 500.0 / 3}, {5, 100}, {7, 250.0 / 3},
};
static_assert(rowsDiffer(intelAtomBusClocks, sameBusCode));

// MSR_FSB_FREQ (0xCD), bits 3 to 0: Silvermont (up to code 4) and Airmont.
constexpr IntelBusClock intelSilvermontBusClocks[] = {
    {0, 250.0 / 3}, {1, 100}, {2, 400.0 / 3}, {3, 350.0 / 3}, {4, 80},
    {5, 280.0 / 3}, {6, 90},  {7, 800.0 / 9}, {8, 87.5},
};
static_assert(rowsDiffer(intelSilvermontBusClocks, sameBusCode));

// MSR_EBC_FREQUENCY_ID (0x2C), bits 18 to 16: Pentium 4 from model 2 on. Code 0 changed its meaning with model 3.
constexpr IntelBusClock intelPentium4Model2BusClocks[] = {
    {0, 100},
    {1, 400.0 / 3},
    {2, 200},
    {3, 500.0 / 3},
};
static_assert(rowsDiffer(intelPentium4Model2BusClocks, sameBusCode));
constexpr IntelBusClock intelPentium4BusClocks[] = {
    {0, 800.0 / 3}, {1, 400.0 / 3}, {2, 200}, {3, 500.0 / 3}, {4, 1000.0 / 3},
};
static_assert(rowsDiffer(intelPentium4BusClocks, sameBusCode));

// What the ratios in MSR_PLATFORM_INFO (0xCE) multiply, by product class. Parts of no class have CPUID leaf 0x16 to say
// so, or it is not known.
struct IntelReferenceClock {
    std::uint32_t types;
    double megahertz;
};
constexpr IntelReferenceClock intelReferenceClocks[] = {
    {x86_intel_info::NehalemFamily, 400.0 / 3},
    {x86_intel_info::SandyBridgeFamily | x86_intel_info::IvyBridgeFamily | x86_intel_info::HaswellFamily |
         x86_intel_info::BroadwellFamily | x86_intel_info::Skylake | x86_intel_info::KabyLake,
     100},
};

} // namespace libQuarrow::cpu
