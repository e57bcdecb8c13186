#pragma once

#include <libQuarrow/cpu/AffinityAPI.h>
#include <libQuarrow/cpu/GroupAffinity.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

// Private to the library: the machine-wide numbers of logical processors, by the rule that
// WinAffinity::getLogicalCpuNumber describes.

namespace libQuarrow::cpu {

// By one reading of the system affinity: numbering a whole machine takes no longer for its last processor than for its
// first, and no number is given twice where the system tells of other processors while the thread is pinned.
class LogicalCpuNumbers {
  public:
    // By what the backend answers when it is first needed. `api` may be null.
    explicit LogicalCpuNumbers(std::shared_ptr<AffinityAPI> api) : m_api(std::move(api)) {}
    // By what was read before, as a backend lists it; none where it could not be read.
    explicit LogicalCpuNumbers(boost::optional<std::vector<GroupAffinity>> system);

    // What the numbers go by. None until it was read.
    const boost::optional<std::vector<GroupAffinity>>& system() const { return m_system; }

    // None unless `groups` is one processor, and none outside group 0 when the system affinity cannot be read.
    boost::optional<unsigned int> of(const std::vector<GroupAffinity>& groups);

  private:
    // An entry of the system's list. Groups past `highestGroup` count the processors of this entry too.
    struct Entry {
        std::uint16_t highestGroup; // of this entry and those before
        unsigned int before;        // processors of the entries before this one
    };
    void countSystem();

    std::shared_ptr<AffinityAPI> m_api;
    boost::optional<std::vector<GroupAffinity>> m_system;
    std::vector<Entry> m_entries; // ends with one that no group passes; empty until the system affinity was read
};

} // namespace libQuarrow::cpu
