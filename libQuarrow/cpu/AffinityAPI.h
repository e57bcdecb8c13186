#pragma once

#include <libQuarrow/cpu/GroupAffinity.h>
#include <libQuarrow/quarrow_export.h>

#include <boost/optional.hpp>

#include <memory>
#include <vector>

namespace libQuarrow::cpu {

class WinAffinity;

// How affinities are read and set, for the calling process and thread. An implementation has no mutable state; every
// failure of the operating system is false or none.
class QUARROW_EXPORT AffinityAPI {
  public:
    virtual ~AffinityAPI();
    virtual bool setProcessAffinity(const WinAffinity& affinity) = 0;
    virtual bool setThreadAffinity(const WinAffinity& affinity) = 0;
    virtual bool supportsCpuGroups() const = 0;
    // Processors of the system, of the process, of the thread; not necessarily sorted or merged.
    virtual boost::optional<std::vector<GroupAffinity>> systemAffinity() = 0;
    virtual boost::optional<std::vector<GroupAffinity>> processAffinity() = 0;
    virtual boost::optional<std::vector<GroupAffinity>> threadAffinity() = 0;

    // A new backend of the current machine on every call; null when none can be made.
    static std::shared_ptr<AffinityAPI> create();
};

} // namespace libQuarrow::cpu
