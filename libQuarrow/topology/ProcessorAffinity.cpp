#include <libQuarrow/topology/ProcessorAffinity.h>

#include <map>
#include <utility>
#include <vector>

namespace libQuarrow::topology {

cpu::AffinityMask affinityOf(const ProcessorSet& processors, const ProcessorNumbering& numbering) {
    std::map<std::uint16_t, std::uint64_t> masks;
    for (const std::uint32_t number : processors) {
        if (const auto place = numbering.place(number)) {
            masks[place->group] |= std::uint64_t{1} << place->bit;
        }
    }
    std::vector<cpu::GroupAffinity> groups;
    groups.reserve(masks.size());
    for (const auto& [group, mask] : masks) {
        groups.emplace_back(group, mask);
    }
    return cpu::WinAffinity(std::move(groups));
}

ProcessorSet processorsOf(const cpu::AffinityMask& affinity, const ProcessorNumbering& numbering) {
    ProcessorSet processors;
    for (const cpu::GroupAffinity& group : affinity.getAffinityData().groups()) {
        for (std::uint32_t bit = 0; bit < 64; ++bit) {
            const auto number = (group.mask >> bit & 1) != 0 ? numbering.number(group.group, bit) : std::nullopt;
            if (number) {
                processors.insert(*number);
            }
        }
    }
    return processors;
}

} // namespace libQuarrow::topology
