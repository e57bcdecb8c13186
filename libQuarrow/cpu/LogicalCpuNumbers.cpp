#include <libQuarrow/cpu/LogicalCpuNumbers.h>

#include <algorithm>
#include <bitset>

namespace libQuarrow::cpu {
namespace {

// How many processors a group has up to its highest one: 0 for an empty mask.
unsigned int countToHighest(std::uint64_t mask) {
    unsigned int count = 0;
    for (; mask != 0; mask >>= 1) {
        ++count;
    }
    return count;
}

} // namespace

LogicalCpuNumbers::LogicalCpuNumbers(boost::optional<std::vector<GroupAffinity>> system)
    : m_system(std::move(system)) {}

boost::optional<unsigned int> LogicalCpuNumbers::of(const std::vector<GroupAffinity>& groups) {
    if (groups.size() != 1 || std::bitset<64>(groups.front().mask).count() != 1) {
        return boost::none;
    }
    const GroupAffinity& processor = groups.front();
    const unsigned int number = countToHighest(processor.mask) - 1;
    if (processor.group == 0) {
        return number;
    }
    if (!m_system && m_api != nullptr) {
        m_system = m_api->systemAffinity();
    }
    if (!m_system) {
        return boost::none;
    }
    if (m_entries.empty()) {
        countSystem();
    }
    const auto entry = std::lower_bound(m_entries.begin(), m_entries.end(), processor.group,
                                        [](const Entry& e, std::uint16_t group) { return e.highestGroup < group; });
    return entry->before + number;
}

// The list is taken as the backend gives it, up to the first entry that is not of an earlier group, and each entry
// counts up to its highest processor, holes included. Both are meant: the numbers are in use as they are.
void LogicalCpuNumbers::countSystem() {
    std::uint16_t highestGroup = 0;
    unsigned int before = 0;
    for (const GroupAffinity& group : *m_system) {
        highestGroup = std::max(highestGroup, group.group);
        m_entries.push_back({highestGroup, before});
        before += countToHighest(group.mask);
    }
    m_entries.push_back({UINT16_MAX, before});
}

} // namespace libQuarrow::cpu
