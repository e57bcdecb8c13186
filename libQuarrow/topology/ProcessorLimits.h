#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace libQuarrow::topology {

// The highest multiplier with turbo while so many cores, or fewer, are active.
struct TurboRatio {
    std::uint32_t activeCores = 0;
    std::uint32_t ratio = 0; // multiplier of the bus clock, never 0
};

// Levels between which the processor may choose by itself: numbers of a scale of its own, 0 to 255, of which more is
// faster. On some they are multipliers, but no manual says so of all: kinds of core have different scales.
struct PerformanceLevels {
    std::uint32_t highest = 0;
    std::uint32_t guaranteed = 0; // what it can hold. AMD: nominal
    std::uint32_t efficient = 0;  // the most work for its power. AMD: lowest nonlinear
    std::uint32_t lowest = 0;
};

// How far a logical processor may go. All of it stands in MSRs, and is absent where they cannot be read or are not
// there.
struct ProcessorLimits {
    // At how many degrees Celsius it slows itself down. Intel: MSR 0x1A2 bits 23 to 16; before Nehalem MSR 0xEE bit 30
    // chooses between two.
    std::optional<std::uint32_t> throttleCelsius;
    // By how many degrees it does so earlier, as it is set. MSR 0x1A2 bits 29 to 24, of older processors 27 to 24.
    std::optional<std::uint32_t> throttleOffsetCelsius;
    // Ascending active cores of the processor's own kind. Empty where they are not known. Intel: MSRs 0x1AD to 0x1AF;
    // of efficient cores of a hybrid 0x650.
    std::vector<TurboRatio> turboRatios;
    // Intel: MSR 0x771 (IA32_HWP_CAPABILITIES), where it is switched on. AMD: MSR 0xC00102B0 (CPPC capability 1).
    std::optional<PerformanceLevels> levels;
};

} // namespace libQuarrow::topology
