#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/os/linux/cpu/x86/ThreadAffinity.h>

#include <map>
#include <memory>
#include <mutex>

namespace libQuarrow::cpu {

// Affinities through the Linux scheduler: processor n is bit n mod 64 of group n / 64, and one affinity may span
// groups.
//
// Linux has no affinity of a process, only of threads. The process affinity read here is every processor that any
// thread of the process may run on; setting it moves every thread, or none.
//
// One list cannot say that threads differ, nor that a thread may run wherever its cpuset allows: a backend therefore
// remembers what it read last, of the thread and of each thread of the process. Setting exactly that list through the
// same backend puts back what was found: each thread's own processors, and the whole affinity for threads started since
// (see ThreadAffinity). A ScopedAffinity does just that, as WinAffinity hands the backend on with the value that it
// read. Putting back allocates no memory.
//
// The kernel leaves out processors that are offline or forbidden; setting fails when none remains.
class LinuxAffinityAPI final : public AffinityAPI {
  public:
    // `cpuFolder` is where the kernel lists the processors. It must outlive this object.
    explicit LinuxAffinityAPI(const char* cpuFolder = systemCpuFolder) : m_cpuFolder(cpuFolder) {}

    bool setProcessAffinity(const WinAffinity& affinity) override;
    bool setThreadAffinity(const WinAffinity& affinity) override;
    // True: groups beyond the first are understood on every machine, whether or not it has that many processors.
    bool supportsCpuGroups() const override;
    // The online processors, also those that the process is not allowed to use, and those that the calling thread may
    // run on: a container may show a list of its own making as the online ones.
    boost::optional<std::vector<GroupAffinity>> systemAffinity() override;
    boost::optional<std::vector<GroupAffinity>> processAffinity() override;
    boost::optional<std::vector<GroupAffinity>> threadAffinity() override;

  private:
    static constexpr const char* systemCpuFolder = "/sys/devices/system/cpu";

    using ThreadAffinities = std::map<pid_t, ThreadAffinity>;
    boost::optional<ProcessorSet> readList(const char* name) const;
    bool mayRunEverywhere(const ProcessorSet& own) const;
    static bool putBack(ThreadAffinities& threads) noexcept;
    bool putBackProcess() noexcept;

    const char* const m_cpuFolder;
    struct Process {
        ThreadAffinities threads;
        ThreadAffinity whole; // all of them together
    };
    std::mutex m_mutex; // guards what was read last
    ThreadAffinity m_thread;
    std::unique_ptr<Process> m_process; // null until it was read
};

} // namespace libQuarrow::cpu
