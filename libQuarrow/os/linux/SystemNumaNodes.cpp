#include <libQuarrow/os/linux/SystemNumaNodes.h>

#include <libQuarrow/os/linux/cpu/x86/ProcessorSet.h>

#include <fcntl.h>
#include <unistd.h>

namespace libQuarrow::os {
namespace {

// A list as the kernel shows it, by 64s: of processors, or of nodes. Empty where it shows none, as of the processors of
// a node that has memory alone.
std::map<std::uint16_t, std::uint64_t> readList(const std::string& path) {
    std::map<std::uint16_t, std::uint64_t> masks;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return masks;
    }
    char text[4096]; // no file of this kind is longer than a page
    const ssize_t size = read(file, text, sizeof text);
    close(file);
    const auto list = size > 0 ? cpu::ProcessorSet::parseList({text, static_cast<std::size_t>(size)}) : boost::none;
    if (list) {
        for (const cpu::GroupAffinity& group : list->groups()) {
            masks.emplace(group.group, group.mask);
        }
    }
    return masks;
}

} // namespace

std::optional<NumaNodes> readNumaNodes(const std::string& folder) {
    NumaNodes nodes;
    for (const auto& [group, mask] : readList(folder + "/online")) {
        for (std::uint32_t bit = 0; bit < 64; ++bit) {
            if ((mask >> bit & 1) != 0) {
                const std::uint32_t node = group * std::uint32_t{64} + bit;
                nodes.emplace(node, readList(folder + "/node" + std::to_string(node) + "/cpulist"));
            }
        }
    }
    return nodes.empty() ? std::nullopt : std::make_optional(std::move(nodes));
}

} // namespace libQuarrow::os
