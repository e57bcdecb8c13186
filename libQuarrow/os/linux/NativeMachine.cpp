#include <libQuarrow/machine/Machine.h>

#include <libKernelMode/DriverBackend.h>
#include <libQuarrow/os/InstructionRoutines.h>
#include <libQuarrow/os/linux/SystemNumaNodes.h>
#include <libQuarrow/os/linux/cpu/x86/LinuxAffinityAPI.h>

#include <ctime>
#include <sched.h>

namespace libQuarrow::os {
namespace {

// Linux has no priority classes; a thread has a scheduling policy and, for the real-time ones, a priority. The
// real-time class stands for the lowest real-time priority (SCHED_RR) of the calling thread, which is ahead of every
// ordinary thread. Any other state is the thread's own, packed so that setting it again restores it exactly:
//   bits 0 to 7 priority, bits 8 to 15 policy, bit 16 set, bit 17 the reset-on-fork flag.
// The nice value needs no place: changing the policy leaves it alone.
class NativeClock final : public Clock {
  public:
    bool frequency(std::uint64_t& countsPerSecond) override {
        // The first reading of a process takes longer, some 10 us; better here than between two of a measurement.
        std::uint64_t first = 0;
        countsPerSecond = nanosecondsPerSecond;
        return counter(first);
    }

    bool counter(std::uint64_t& counts) override {
        timespec now{};
        if (clock_gettime(CLOCK_MONOTONIC_RAW, &now) != 0) {
            return false;
        }
        counts =
            static_cast<std::uint64_t>(now.tv_sec) * nanosecondsPerSecond + static_cast<std::uint64_t>(now.tv_nsec);
        return true;
    }

    bool priorityClass(std::uint32_t& value) override {
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

    bool setPriorityClass(std::uint32_t value) override {
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

  private:
    static constexpr std::uint64_t nanosecondsPerSecond = 1000000000;
    static constexpr std::uint32_t priorityMask = 0xFF;
    static constexpr unsigned int policyShift = 8;
    static constexpr std::uint32_t policyMask = 0xFF; // the reset-on-fork flag lies far above it
    static constexpr std::uint32_t packedMark = 0x10000;
    static constexpr std::uint32_t resetOnForkBit = 0x20000;

    static bool schedule(int policy, int priority) {
        sched_param parameters{};
        parameters.sched_priority = priority;
        return sched_setscheduler(0, policy, &parameters) == 0;
    }

    static bool raise() {
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
};

class NativeMachine final : public Machine {
  public:
    Instructions& instructions() override { return m_instructions; }
    std::shared_ptr<cpu::AffinityAPI> createAffinityAPI() override { return std::make_shared<cpu::LinuxAffinityAPI>(); }
    Clock& clock() override { return m_clock; }
    libKernelMode::DriverBackend& drivers() override { return libKernelMode::nativeDriverBackend(); }
    std::optional<NumaNodes> numaNodes() override { return readNumaNodes("/sys/devices/system/node"); }

  private:
    InstructionRoutines m_instructions;
    NativeClock m_clock;
};

} // namespace

Machine& nativeMachine() {
    static NativeMachine machine;
    return machine;
}

} // namespace libQuarrow::os
