#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/os/linux/cpu/x86/ProcessorSet.h>

#include <map>
#include <mutex>

namespace libQuarrow::cpu {

// Affinities through the Linux scheduler: processor n is bit n mod 64 of group n / 64, and one affinity may span
// groups.
//
// Linux has no affinity of a process, only of threads. The process affinity read here is every processor that any
// thread of the process may run on; setting it moves every thread, or none. Threads may differ, and one list cannot say
// so: a backend therefore remembers each thread's mask of its last processAffinity(). Setting exactly that affinity
// through the same backend gives each of those threads its own mask back, and the whole affinity to those started
// since. A ScopedAffinity does just that, as WinAffinity::processAffinity hands the backend on with the value.
//
// The kernel leaves out processors that are offline or forbidden; setting fails when none remains.
class LinuxAffinityAPI final : public AffinityAPI {
  public:
    bool setProcessAffinity(const WinAffinity& affinity) override;
    bool setThreadAffinity(const WinAffinity& affinity) override;
    // True: groups beyond the first are understood on every machine, whether or not it has that many processors.
    bool supportsCpuGroups() const override;
    // The online processors, also those that the process is not allowed to use.
    boost::optional<std::vector<GroupAffinity>> systemAffinity() override;
    boost::optional<std::vector<GroupAffinity>> processAffinity() override;
    boost::optional<std::vector<GroupAffinity>> threadAffinity() override;

  private:
    using ThreadMasks = std::map<pid_t, ProcessorSet>;
    bool putBack(const ThreadMasks& masks, const ProcessorSet& others) const;

    std::mutex m_mutex;
    ThreadMasks m_lastRead; // under m_mutex
};

} // namespace libQuarrow::cpu
