#pragma once

#include <libQuarrow/machine/Machine.h>
#include <libQuarrow/os/recorded/Faults.h>
#include <libQuarrow/recording/Recording.h>

#include <boost/optional.hpp>

#include <atomic>

namespace libQuarrow::os {

// Private to the library: the virtual time of a recorded machine. It moves on by one second whenever the performance
// counter is read, so that the rate over any two readings is exact.
class RecordedClock : public Clock {
  public:
    // `faults` must outlive this object.
    RecordedClock(const Recording& recording, const Faults& faults);

    bool frequency(std::uint64_t& countsPerSecond) override;
    bool counter(std::uint64_t& counts) override;
    bool priorityClass(std::uint32_t& value) override;
    bool setPriorityClass(std::uint32_t value) override;
    bool tellsTscRate() override { return m_isTscRateKnown; }

    // The time-stamp counter now; it wraps round at 2^64, as the performance counter does.
    std::uint64_t tsc() const { return m_seconds * m_tscHertz; }
    // Whether the recording tells the rate of the time-stamp counter; 1 GHz is made up otherwise.
    bool isTscRateKnown() const { return m_isTscRateKnown; }

  private:
    RecordedClock(const boost::optional<std::uint64_t>& tscHertz, const Faults& faults);

    const Faults& m_faults;
    const bool m_isTscRateKnown;
    const std::uint64_t m_tscHertz;
    std::atomic<std::uint64_t> m_seconds{1};
    std::atomic<unsigned int> m_counterReads{0};
    std::atomic<std::uint32_t> m_priorityClass{0x20}; // the value that Windows gives its normal class
};

} // namespace libQuarrow::os
