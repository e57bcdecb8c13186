#include <libQuarrow/topology/ProcessorNumbering.h>

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/machine/Machine.h>

#include <algorithm>

namespace libQuarrow::topology {
namespace {

constexpr std::uint32_t groupSize = 64;

} // namespace

ProcessorNumbering::ProcessorNumbering(const std::vector<std::pair<std::uint16_t, std::uint64_t>>& groups)
    : m_byGroups(true) {
    std::uint32_t first = 0;
    for (const auto& [group, mask] : groups) {
        std::uint32_t size = 0;
        while (size < groupSize && mask >> size != 0) {
            ++size;
        }
        m_groups.push_back({group, first, size});
        first += size;
    }
}

std::optional<ProcessorNumbering> ProcessorNumbering::ofCurrentMachine() {
    const auto system = cpu::AffinityMask::systemAffinityMask();
    if (!system) {
        return std::nullopt;
    }
    std::vector<std::pair<std::uint16_t, std::uint64_t>> groups;
    for (const cpu::GroupAffinity& group : system->getAffinityData().groups()) {
        groups.emplace_back(group.group, group.mask);
    }
    return ofCurrentMachine(groups);
}

ProcessorNumbering
ProcessorNumbering::ofCurrentMachine(const std::vector<std::pair<std::uint16_t, std::uint64_t>>& groups) {
    return os::currentMachine().numbersProcessorsByGroup() ? ProcessorNumbering(groups) : ProcessorNumbering();
}

std::optional<std::uint32_t> ProcessorNumbering::number(std::uint16_t group, std::uint32_t bit) const {
    if (!m_byGroups) {
        return group * groupSize + bit;
    }
    const auto found = std::lower_bound(m_groups.begin(), m_groups.end(), group,
                                        [](const Group& entry, std::uint16_t wanted) { return entry.group < wanted; });
    return found != m_groups.end() && found->group == group && bit < found->size
               ? std::make_optional(found->first + bit)
               : std::nullopt;
}

std::optional<ProcessorNumbering::Place> ProcessorNumbering::place(std::uint32_t number) const {
    if (!m_byGroups) {
        return number / groupSize <= UINT16_MAX
                   ? std::make_optional(Place{static_cast<std::uint16_t>(number / groupSize),
                                              static_cast<std::uint8_t>(number % groupSize)})
                   : std::nullopt;
    }
    const auto after = std::upper_bound(m_groups.begin(), m_groups.end(), number,
                                        [](std::uint32_t wanted, const Group& entry) { return wanted < entry.first; });
    if (after == m_groups.begin() || number - (after - 1)->first >= (after - 1)->size) {
        return std::nullopt;
    }
    return Place{(after - 1)->group, static_cast<std::uint8_t>(number - (after - 1)->first)};
}

} // namespace libQuarrow::topology
