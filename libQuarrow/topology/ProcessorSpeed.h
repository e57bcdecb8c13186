#pragma once

#include <libQuarrow/machine/SystemFrequencies.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace libQuarrow::topology {

// One of the speeds of a processor. Each is absent where it is not known, and never 0.
struct SpeedFigure {
    std::optional<double> multiplier; // of the bus clock
    std::optional<std::uint64_t> hertz;
};

// A performance state of an AMD processor.
struct PerformanceState {
    std::uint32_t number = 0; // of its register, from 0: the fastest; before family 17h those of boost come first
    std::uint64_t hertz = 0;
};

// How fast a logical processor runs. What neither a register nor the operating system tells is absent, never a guess.
// MSRs tell only where a driver lets them be read. Where several tell, the one named first counts. Of an efficient core
// of a hybrid MSR 0xCE, the base in leaves 0x16 and 0x15, and the name tell nothing: they are about the other cores.
struct ProcessorSpeed {
    // Rate of the time-stamp counter, measured against the operating system's clock. Absent for a recording that does
    // not hold it.
    std::optional<std::uint64_t> tscHertz;
    // What multipliers are of. Intel: MSRs 0x2C and 0xCD, or the 100 MHz (Nehalem: 133.33) of the processors with MSR
    // 0xCE; leaf 0x16 ECX. AMD: 100 MHz, or 200 on families 10h, 11h and the first of 15h.
    std::optional<std::uint64_t> busClockHertz;
    // What it is set to. Intel: MSR 0x198, of a Pentium 4 0x2C too. AMD: MSRs 0xC0010063 and 0xC0010071, of family Fh
    // 0xC0010042.
    SpeedFigure current;
    // What it ran at while it was measured: base, times what MSR 0xE8 (APERF) counted for each count of 0xE7 (MPERF).
    SpeedFigure effective;
    // Intel: MSR 0xCE bits 47 to 40. AMD: the last P-state in use. The operating system.
    SpeedFigure lowest;
    // The highest without turbo. Intel: MSR 0xCE bits 15 to 8, before it 0x2C, 0x17 and 0x198. AMD: the first P-state
    // without boost. Leaf 0x16 EAX, leaf 0x15, the operating system, and at last the frequency that an Intel
    // processor's brand string ends in.
    SpeedFigure base;
    // The highest with turbo, of one active core. Intel: the first ratio of MSR 0x1AD, of efficient cores of a hybrid
    // that of 0x650. AMD: P-states of boost, before family 17h. Leaf 0x16 EBX.
    SpeedFigure turbo;
    // AMD: those that are enabled, MSRs 0xC0010064 to 0xC001006B, ascending numbers. Empty where they cannot be read.
    std::vector<PerformanceState> performanceStates;
    // As the operating system tells it, whatever stands above.
    os::SystemFrequencies system;
};

} // namespace libQuarrow::topology
