#pragma once

#include <cstdint>

// Private to the library: what is measured against the operating system's performance counter.

namespace libQuarrow::os {
class Clock;
}

namespace libQuarrow::cpu {

// Counts of the performance counter that make up a 40th of a second: long enough to measure, too short to notice.
std::uint64_t measuringInterval(std::uint64_t countsPerSecond);

// Spins, without sleeping, until the performance counter has come to `target`. False when it cannot be read, or stands
// still.
bool spinUntil(os::Clock& clock, std::uint64_t target);

// Ticks per second of the time-stamp counter of the processor that the thread is held on, measured against the current
// machine's clock. Takes about 25 milliseconds, at a raised priority class where that is allowed. False, with `hz`
// untouched and the reason logged, when the clock cannot be read or tells of no time that passed.
bool measureTSC(std::uint64_t& hz);

} // namespace libQuarrow::cpu
