#pragma once

#include <libQuarrow/quarrow_export.h>

#include <cstdint>

// The operating system's own record (winnt.h). Complete on Windows only.
struct _GROUP_AFFINITY;

namespace libQuarrow::cpu {

// Processors of one processor group.
struct QUARROW_EXPORT GroupAffinity {
    std::uint16_t group = 0; // processor group number
    std::uint64_t mask = 0;  // bit n set: processor n of the group is in the set

    GroupAffinity() = default;
    GroupAffinity(std::uint16_t groupNumber, std::uint64_t processors) : group(groupNumber), mask(processors) {}
    // From `Group` and `Mask` of the system's record, whose fields stand in the other order. Windows only.
    GroupAffinity(const _GROUP_AFFINITY& system);

    friend bool operator==(const GroupAffinity& a, const GroupAffinity& b) {
        return a.group == b.group && a.mask == b.mask;
    }
    friend bool operator!=(const GroupAffinity& a, const GroupAffinity& b) { return !(a == b); }
};

} // namespace libQuarrow::cpu
