#include <libQuarrow/os/linux/SystemNumaNodes.h>

#include <libQuarrow/os/linux/cpu/x86/ProcessorSet.h>

#include <charconv>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace libQuarrow::os {
namespace {

// The number in node<number>; none in any other name.
std::optional<std::uint32_t> numberIn(std::string_view name) {
    constexpr std::string_view prefix = "node";
    std::uint32_t number = 0;
    const char* const end = name.data() + name.size();
    if (name.substr(0, prefix.size()) != prefix) {
        return std::nullopt;
    }
    const auto result = std::from_chars(name.data() + prefix.size(), end, number);
    return result.ec == std::errc() && result.ptr == end ? std::make_optional(number) : std::nullopt;
}

// A list of processors; an empty one of a node that has memory alone.
std::map<std::uint16_t, std::uint64_t> readProcessors(const std::string& path) {
    std::map<std::uint16_t, std::uint64_t> masks;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return masks;
    }
    char text[4096]; // no file of this kind is longer than a page
    const ssize_t size = read(file, text, sizeof text);
    close(file);
    const auto processors =
        size > 0 ? cpu::ProcessorSet::parseList({text, static_cast<std::size_t>(size)}) : boost::none;
    if (processors) {
        for (const cpu::GroupAffinity& group : processors->groups()) {
            masks.emplace(group.group, group.mask);
        }
    }
    return masks;
}

} // namespace

std::optional<NumaNodes> readNumaNodes(const std::string& folder) {
    struct Close {
        void operator()(DIR* opened) const { closedir(opened); }
    };
    const std::unique_ptr<DIR, Close> entries(opendir(folder.c_str()));
    if (entries == nullptr) {
        return std::nullopt;
    }
    NumaNodes nodes;
    while (const dirent* entry = readdir(entries.get())) {
        if (const auto number = numberIn(entry->d_name)) {
            nodes.emplace(*number, readProcessors(folder + "/" + entry->d_name + "/cpulist"));
        }
    }
    return nodes.empty() ? std::nullopt : std::make_optional(std::move(nodes));
}

} // namespace libQuarrow::os
