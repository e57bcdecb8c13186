#pragma once

#include <libQuarrow/cpu/GroupAffinity.h>
#include <libQuarrow/os/recorded/Faults.h>
#include <libQuarrow/recording/Recording.h>

#include <boost/optional.hpp>

#include <cstddef>
#include <mutex>
#include <unordered_map>
#include <vector>

// Private to the library: which processor of a recorded machine each thread is on. All members may be called from any
// thread.

namespace libQuarrow::os {

class RecordedPins {
  public:
    // Both must outlive this object.
    RecordedPins(const Recording& recording, const Faults& faults);

    // Whether the machine has processor groups, that is, any but group 0.
    bool hasGroups() const { return m_hasGroups; }
    // All processors, ascending groups.
    const std::vector<cpu::GroupAffinity>& system() const { return m_system; }
    cpu::GroupAffinity process() const;
    cpu::GroupAffinity thread() const;
    bool setProcess(const std::vector<cpu::GroupAffinity>& groups);
    bool setThread(const std::vector<cpu::GroupAffinity>& groups);
    // The processor at that place in that group, by its index in the recording.
    boost::optional<std::size_t> indexOf(std::uint16_t group, std::uint8_t bit) const;
    // The processor that the calling thread is on, by its index in the recording.
    std::size_t processor() const;

  private:
    struct Pin {
        cpu::GroupAffinity affinity;
        std::size_t processor;
    };
    bool attemptFails();
    boost::optional<Pin> pinTo(const std::vector<cpu::GroupAffinity>& groups) const;
    cpu::GroupAffinity wholeGroup() const;
    const Pin* threadPin() const;

    const Faults& m_faults;
    std::vector<cpu::GroupAffinity> m_system;
    std::unordered_map<std::uint32_t, std::size_t> m_indexes; // by group << 6 | bit
    std::uint16_t m_firstGroup = 0;
    bool m_hasGroups = false;
    mutable std::mutex m_mutex; // guards what follows
    unsigned int m_attempts = 0;
    boost::optional<Pin> m_process;
    std::unordered_map<std::uint64_t, Pin> m_threads; // by thread number
};

} // namespace libQuarrow::os
