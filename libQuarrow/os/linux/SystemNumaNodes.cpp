#include <libQuarrow/os/linux/SystemNumaNodes.h>

#include <libQuarrow/os/linux/SystemLists.h>

namespace libQuarrow::os {

std::optional<NumaNodes> readNumaNodes(const std::string& folder) {
    NumaNodes nodes;
    for (const auto& [group, mask] : readSystemList(folder + "/online")) {
        for (std::uint32_t bit = 0; bit < 64; ++bit) {
            if ((mask >> bit & 1) != 0) {
                const std::uint32_t node = group * std::uint32_t{64} + bit;
                nodes.emplace(node, readSystemList(folder + "/node" + std::to_string(node) + "/cpulist"));
            }
        }
    }
    return nodes.empty() ? std::nullopt : std::make_optional(std::move(nodes));
}

std::optional<std::uint32_t> onlyPossibleNode(const std::string& folder) {
    const auto possible = readSystemList(folder + "/possible");
    if (possible.size() != 1) {
        return std::nullopt;
    }
    const auto [group, mask] = *possible.begin();
    std::uint32_t bit = 0;
    while ((mask >> bit & 1) == 0) {
        ++bit;
    }
    return mask >> bit == 1 ? std::make_optional(group * std::uint32_t{64} + bit) : std::nullopt;
}

} // namespace libQuarrow::os
