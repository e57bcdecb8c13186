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

// Asks for the system affinity once, when it is first needed: numbering a whole machine takes no longer for its last
// processor than for its first.
class LogicalCpuNumbers {
  public:
    // `api` may be null.
    explicit LogicalCpuNumbers(std::shared_ptr<AffinityAPI> api) : m_api(std::move(api)) {}

    // None unless `groups` is one processor, and none outside group 0 when the system affinity cannot be read.
    boost::optional<unsigned int> of(const std::vector<GroupAffinity>& groups);

  private:
    // An entry of the system's list. Groups past `highestGroup` count the processors of this entry too.
    struct Entry {
        std::uint16_t highestGroup; // of this entry and those before
        unsigned int before;        // processors of the entries before this one
    };
    bool readSystem();

    std::shared_ptr<AffinityAPI> m_api;
    std::vector<Entry> m_entries; // ends with one that no group passes; empty until the system affinity was read
};

} // namespace libQuarrow::cpu
