#pragma once

#include <libQuarrow/os/Machine.h>
#include <libQuarrow/os/recorded/Recording.h>

#include <memory>
#include <set>

namespace libQuarrow::os {

// Failures that a recorded machine plays on demand. They may be changed between calls, not during them.
struct Faults {
    static constexpr unsigned int never = 0xFFFFFFFF;

    // Processors, by their index in the recording, that no thread can be pinned to.
    std::set<std::size_t> unpinnable;
    bool systemAffinityUnreadable = false;
    bool threadAffinityUnreadable = false;
    bool processAffinityUnreadable = false;
    // The n-th setting of an affinity (counted from 0, over all threads) fails; with 1 after a pin: putting back fails.
    unsigned int failingAffinitySet = never;
    bool noMsrDriver = false;
    std::set<std::uint32_t> failingMsrs; // both ways
    bool counterFrequencyUnreadable = false;
    unsigned int failingCounterRead = never; // the n-th reading of the counter, from 0
    bool priorityClassRefused = false;
};

// A machine replayed from a recording.
//
// Pinning selects whose leaves answer; a thread that was never pinned runs on the first processor. A process affinity
// moves every thread that has no affinity of its own. The affinity backend stands for a machine with processor groups,
// but sets process affinities too when the recording has group 0 alone, as a machine without groups does.
//
// Differences from a real machine: an absent leaf or sub-leaf answers zeros; a leaf above the maximum answers as the
// vendor's processors do (Intel: the highest standard leaf; others: zeros). The clock is virtual: it advances only when
// it is read. MSR writes change this object, never a file.
class QUARROW_EXPORT RecordedMachine : public Machine {
  public:
    explicit RecordedMachine(Recording recording);
    ~RecordedMachine() override;

    Instructions& instructions() override;
    std::shared_ptr<cpu::AffinityAPI> createAffinityAPI() override;
    Clock& clock() override;
    libKernelMode::DriverBackend& drivers() override;

    const Recording& recording() const;
    Faults& faults();

  private:
    class State;
    std::shared_ptr<State> m_state; // shared with the affinity backends, which may outlive the machine
};

// What the machine that this process runs on looks like, as a recording: every processor that can be pinned, its leaves
// and sub-leaves, XCR0. None, with the reason, when the affinity cannot be read or no processor could be pinned.
QUARROW_EXPORT boost::optional<Recording> recordCurrentMachine(RecordingError& error);

} // namespace libQuarrow::os
