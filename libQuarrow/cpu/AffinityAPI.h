#pragma once

#include <libQuarrow/cpu/GroupAffinity.h>
#include <libQuarrow/quarrow_export.h>

#include <boost/optional.hpp>

#include <memory>
#include <vector>

namespace libQuarrow::cpu {

class WinAffinity;

// How affinities are read and set, for the calling process and thread. Every failure of the operating system is false
// or none. A backend may be used from several threads.
class QUARROW_EXPORT AffinityAPI {
  public:
    virtual ~AffinityAPI();
    // True when the process, or the calling thread, runs on these processors alone from now on. What else a backend may
    // leave out of a value of several groups is its own rule.
    virtual bool setProcessAffinity(const WinAffinity& affinity) = 0;
    virtual bool setThreadAffinity(const WinAffinity& affinity) = 0;
    // Whether values of other groups than 0 can mean anything here.
    virtual bool supportsCpuGroups() const = 0;
    // The processors of the system, of the process, of the thread; not necessarily sorted or merged.
    virtual boost::optional<std::vector<GroupAffinity>> systemAffinity() = 0;
    virtual boost::optional<std::vector<GroupAffinity>> processAffinity() = 0;
    virtual boost::optional<std::vector<GroupAffinity>> threadAffinity() = 0;

    // A new backend of the current machine on every call; null when none can be made.
    static std::shared_ptr<AffinityAPI> create();
};

} // namespace libQuarrow::cpu
