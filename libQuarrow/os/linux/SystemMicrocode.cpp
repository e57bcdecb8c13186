#include <libQuarrow/os/linux/SystemMicrocode.h>

#include <libQuarrow/os/linux/SystemLists.h>

#include <cstdlib>
#include <fstream>

namespace libQuarrow::os {
namespace {

constexpr std::uint32_t processorsPerGroup = 64;
constexpr std::uint32_t lastProcessor = 0xFFFF * processorsPerGroup + 63;

// Some hypervisors tell their guests one of these, which is no revision of any microcode.
bool isRevision(std::uint64_t value) {
    return value != 0 && value < 0xFFFFFFFF;
}

std::pair<std::uint16_t, std::uint8_t> placeOf(std::uint32_t processor) {
    return {static_cast<std::uint16_t>(processor / processorsPerGroup),
            static_cast<std::uint8_t>(processor % processorsPerGroup)};
}

// "0x2b000590", as the kernel writes it in either place.
void add(std::uint32_t processor, const std::string& text, MicrocodeRevisions& revisions) {
    const std::uint64_t value = std::strtoull(text.c_str(), nullptr, 16);
    if (isRevision(value)) {
        revisions[placeOf(processor)] = static_cast<std::uint32_t>(value);
    }
}

// False where a processor has no such file, or one that may not be read.
bool readFiles(const std::string& folder, MicrocodeRevisions& revisions) {
    for (const auto& [group, mask] : readSystemList(folder + "/online")) {
        for (std::uint32_t bit = 0; bit < processorsPerGroup; ++bit) {
            if ((mask >> bit & 1) == 0) {
                continue;
            }
            const std::uint32_t processor = group * processorsPerGroup + bit;
            const std::string text = readSystemFile(folder + "/cpu" + std::to_string(processor) + "/microcode/version");
            if (text.empty()) {
                return false;
            }
            add(processor, text, revisions);
        }
    }
    return true;
}

// Lines of "name : value", in a part for each processor.
MicrocodeRevisions readReport(const std::string& report) {
    MicrocodeRevisions revisions;
    std::ifstream in(report);
    std::uint64_t processor = 0;
    for (std::string line; std::getline(in, line);) {
        const auto colon = line.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        const std::string name = line.substr(0, line.find_last_not_of(" \t", colon - 1) + 1);
        if (name == "processor") {
            processor = std::strtoull(line.c_str() + colon + 1, nullptr, 10);
        } else if (name == "microcode" && processor <= lastProcessor) {
            add(static_cast<std::uint32_t>(processor), line.substr(colon + 1), revisions);
        }
    }
    return revisions;
}

} // namespace

MicrocodeRevisions readMicrocodeRevisions(const std::string& folder, const std::string& report) {
    MicrocodeRevisions revisions;
    return readFiles(folder, revisions) && !revisions.empty() ? revisions : readReport(report);
}

} // namespace libQuarrow::os
