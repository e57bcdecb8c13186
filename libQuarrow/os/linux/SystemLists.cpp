#include <libQuarrow/os/linux/SystemLists.h>

#include <libQuarrow/os/linux/cpu/x86/ProcessorSet.h>

#include <fcntl.h>
#include <unistd.h>

namespace libQuarrow::os {

std::string readSystemFile(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return {};
    }
    char text[4096]; // no file of this kind is longer than a page
    const ssize_t size = read(file, text, sizeof text);
    close(file);
    return size > 0 ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

std::map<std::uint16_t, std::uint64_t> readSystemList(const std::string& path) {
    std::map<std::uint16_t, std::uint64_t> masks;
    if (const auto list = cpu::ProcessorSet::parseList(readSystemFile(path))) {
        for (const cpu::GroupAffinity& group : list->groups()) {
            masks.emplace(group.group, group.mask);
        }
    }
    return masks;
}

} // namespace libQuarrow::os
