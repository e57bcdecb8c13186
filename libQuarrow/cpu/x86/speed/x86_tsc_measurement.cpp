// Speeds measured against the performance counter, which the machine's clock brings.

#include <libQuarrow/cpu/x86/speed/x86_tsc_measurement.h>

#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_inst.h>
#include <libQuarrow/cpu/x86/x86_pin.h>
#include <libQuarrow/machine/Machine.h>
#include <zel/Log.h>

#include <mutex>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint64_t intervalsPerSecond = 40;
constexpr std::uint64_t lowestFrequency = 40; // one count in an interval
constexpr double two64 = 18446744073709551616.0;

// The numbers that these messages begin with. They look like source lines, as those of other messages are, but are kept
// whatever happens to the source: people find a message in old reports by its number.
enum MessageTag : unsigned int {
    TagNoFrequency = 96,
    TagLowFrequency = 100,
    TagNoInitialValue = 111,
    TagNoValueWhileWaiting = 121,
    TagNoFinalValue = 129,
    TagNoTimePassed = 137,
    TagNotAllowed = 149,
    TagNotPinned = 158,
};

zel::LogChannel& log() {
    static zel::LogChannel& channel = zel::LogFactory::channel("libQuarrow.cpu_x86.x86_cpu_OS");
    return channel;
}

bool fail(MessageTag tag, const zel::String& message) {
    log().log(zel::LogFailure, tag, message);
    return false;
}

// The process in the real-time priority class until the end of the scope, one measurement at a time: the second of two
// that overlap would take the raised class for the one to put back. Where the class cannot be read it stays: what could
// not be put back is not changed.
class RaisedPriority {
  public:
    explicit RaisedPriority(os::Clock& clock)
        : m_alone(mutex()), m_clock(clock),
          m_raised(clock.priorityClass(m_before) && clock.setPriorityClass(os::Clock::realTimePriorityClass)) {}
    ~RaisedPriority() {
        if (m_raised) {
            m_clock.setPriorityClass(m_before);
        }
    }
    RaisedPriority(const RaisedPriority&) = delete;
    RaisedPriority& operator=(const RaisedPriority&) = delete;

  private:
    static std::mutex& mutex() {
        static std::mutex instance;
        return instance;
    }

    std::lock_guard<std::mutex> m_alone;
    os::Clock& m_clock;
    std::uint32_t m_before = 0;
    bool m_raised;
};

} // namespace

std::uint64_t measuringInterval(std::uint64_t countsPerSecond) {
    return countsPerSecond / intervalsPerSecond;
}

bool spinUntil(os::Clock& clock, std::uint64_t target) {
    // An interval takes a million reads of a fast counter, or a few. After so many more the counter stands still.
    constexpr std::uint32_t mostReads = 1u << 24;
    std::uint64_t now = 0;
    for (std::uint32_t reads = 0; reads < mostReads; ++reads) {
        if (!clock.counter(now)) {
            return false;
        }
        if (now >= target) {
            return true;
        }
    }
    return false;
}

bool measureTSC(std::uint64_t& hz) {
    os::Clock& clock = os::currentMachine().clock();
    std::uint64_t frequency = 0;
    if (!clock.frequency(frequency)) {
        return fail(TagNoFrequency, "Failed to get performance counter frequency");
    }
    if (frequency < lowestFrequency) {
        return fail(TagLowFrequency, zel::String::SprintfFormat(
                                         "Counter frequency (%I64u) is too low for accurate calculation", frequency));
    }
    const RaisedPriority priority(clock);
    const std::uint64_t firstTick = x86_inst::callRDTSC();
    std::uint64_t start = 0;
    if (!clock.counter(start)) {
        return fail(TagNoInitialValue, "Problem reading initial performance counter value");
    }
    if (!spinUntil(clock, start + measuringInterval(frequency))) {
        return fail(TagNoValueWhileWaiting, "Problem reading performance counter while busy waiting");
    }
    const std::uint64_t lastTick = x86_inst::callRDTSC();
    std::uint64_t end = 0;
    if (!clock.counter(end)) {
        return fail(TagNoFinalValue, "Problem reading final performance counter value");
    }
    const double seconds = static_cast<double>(end - start) / static_cast<double>(frequency);
    const double ticksPerSecond = static_cast<double>(lastTick - firstTick) / seconds;
    // Nothing divided by nothing, or a rate past 64 bits: a counter that stood still or went backwards.
    if (!(ticksPerSecond >= 0 && ticksPerSecond < two64)) {
        return fail(TagNoTimePassed, "Performance counter did not advance while measuring");
    }
    hz = static_cast<std::uint64_t>(ticksPerSecond);
    return true;
}

bool x86_cpu::calculateSpeedTSC(std::uint64_t& hz) const {
    const zel::TraceScope trace(log(), "x86_cpu::calculateSpeedTSC()", "cpu/x86/x86_cpu_OS", __LINE__);
    if (!isAllowedFeature(x86_feature_TSC)) {
        return fail(TagNotAllowed, "RDTSC not allowed");
    }
    const x86_pin pin(*this);
    if (!pin.pinned()) {
        return fail(TagNotPinned, "Unable to set affinity mask : " + m_affinity.toString());
    }
    return measureTSC(hz);
}

} // namespace libQuarrow::cpu
