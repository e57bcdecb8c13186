#pragma once

#include <libQuarrow/quarrow_export.h>

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace libQuarrow::topology {

// The operating system's numbers of logical processors, and their places in processor groups. Linux numbers 64 in a
// group, used or not; on Windows a group's numbers follow those of the group before, each group counting up to its
// highest processor.
class QUARROW_EXPORT ProcessorNumbering {
  public:
    struct Place {
        std::uint16_t group;
        std::uint8_t bit; // 0 to 63
    };

    // 64 in a group.
    ProcessorNumbering() = default;
    // By the order of groups: number and mask of each group, ascending.
    explicit ProcessorNumbering(const std::vector<std::pair<std::uint16_t, std::uint64_t>>& groups);
    // That of the current machine; none when its processors cannot be listed.
    static std::optional<ProcessorNumbering> ofCurrentMachine();
    // The same for a machine whose groups are known.
    static ProcessorNumbering ofCurrentMachine(const std::vector<std::pair<std::uint16_t, std::uint64_t>>& groups);

    // None where there is no such group.
    std::optional<std::uint32_t> number(std::uint16_t group, std::uint32_t bit) const;
    std::optional<Place> place(std::uint32_t number) const;

  private:
    struct Group {
        std::uint16_t group;
        std::uint32_t first; // number
        std::uint32_t size;
    };
    bool m_byGroups = false;
    std::vector<Group> m_groups; // where m_byGroups, ascending
};

} // namespace libQuarrow::topology
