#include <libQuarrow/os/NativeClock.h>

#include <ctime>
#include <sched.h>

namespace libQuarrow::os {

// Linux has no priority classes; a thread has a scheduling policy and, for the real-time ones, a priority. The
// real-time class stands for the lowest real-time priority (SCHED_RR) of the calling thread, which is ahead of every
// ordinary thread. Any other state is the thread's own, packed so that setting it again restores it exactly:
//   bits 0 to 7 priority, bits 8 to 15 policy, bit 16 set, bit 17 the reset-on-fork flag.
// The nice value needs no place: changing the policy leaves it alone.
namespace {

constexpr std::uint64_t nanosecondsPerSecond = 1000000000;
constexpr std::uint32_t priorityMask = 0xFF;
constexpr unsigned int policyShift = 8;
constexpr std::uint32_t policyMask = 0xFF; // the reset-on-fork flag lies far above it
constexpr std::uint32_t packedMark = 0x10000;
constexpr std::uint32_t resetOnForkBit = 0x20000;

bool schedule(int policy, int priority) {
    sched_param parameters{};
    parameters.sched_priority = priority;
    return sched_setscheduler(0, policy, &parameters) == 0;
}

bool raise() {
    const int policy = sched_getscheduler(0);
    if (policy < 0) {
        return false;
    }
    const int flag = policy & SCHED_RESET_ON_FORK;
    const int plain = policy & ~SCHED_RESET_ON_FORK;
    if (plain == SCHED_FIFO || plain == SCHED_RR || plain == SCHED_DEADLINE) {
        return true; // as high already, or higher
    }
    return schedule(SCHED_RR | flag, sched_get_priority_min(SCHED_RR));
}

} // namespace

bool NativeClock::frequency(std::uint64_t& countsPerSecond) {
    // The first reading of a process takes longer, some 10 us; better here than between two of a measurement.
    std::uint64_t first = 0;
    countsPerSecond = nanosecondsPerSecond;
    return counter(first);
}

bool NativeClock::counter(std::uint64_t& counts) {
    timespec now{};
    if (clock_gettime(CLOCK_MONOTONIC_RAW, &now) != 0) {
        return false;
    }
    counts = static_cast<std::uint64_t>(now.tv_sec) * nanosecondsPerSecond + static_cast<std::uint64_t>(now.tv_nsec);
    return true;
}

bool NativeClock::priorityClass(std::uint32_t& value) {
    const int policy = sched_getscheduler(0);
    sched_param parameters{};
    // A deadline thread's parameters do not fit, so it is said to have no class.
    if (policy < 0 || (policy & ~SCHED_RESET_ON_FORK) == SCHED_DEADLINE || sched_getparam(0, &parameters) != 0) {
        return false;
    }
    value = packedMark | ((static_cast<std::uint32_t>(policy) & policyMask) << policyShift) |
            (static_cast<std::uint32_t>(parameters.sched_priority) & priorityMask) |
            ((policy & SCHED_RESET_ON_FORK) != 0 ? resetOnForkBit : 0);
    return true;
}

bool NativeClock::setPriorityClass(std::uint32_t value) {
    if (value == realTimePriorityClass) {
        return raise();
    }
    if ((value & packedMark) == 0) {
        return false;
    }
    const int policy = static_cast<int>((value >> policyShift) & policyMask);
    const int flag = (value & resetOnForkBit) != 0 ? SCHED_RESET_ON_FORK : 0;
    return schedule(policy | flag, static_cast<int>(value & priorityMask));
}

} // namespace libQuarrow::os
