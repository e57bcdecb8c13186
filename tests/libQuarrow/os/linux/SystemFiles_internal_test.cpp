// What is read from files of the kernel.

#include <libQuarrow/machine/Machine.h>
#include <libQuarrow/os/linux/SystemMicrocode.h>
#include <libQuarrow/os/linux/SystemNumaNodes.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using libQuarrow::os::MicrocodeRevisions;
using libQuarrow::os::onlyPossibleNode;
using libQuarrow::os::readMicrocodeRevisions;
using libQuarrow::os::readNumaNodes;

namespace {

TEST(SystemNumaNodes, AreReadFromTheirFolders) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "quarrow-nodes";
    std::filesystem::remove_all(folder);
    EXPECT_FALSE(readNumaNodes(folder.string())) << "no folder";
    const auto add = [&folder](const char* node, const char* list) {
        std::filesystem::create_directories(folder / node);
        std::ofstream(folder / node / "cpulist") << list;
    };
    add("node1", "0-3\n");
    EXPECT_FALSE(readNumaNodes(folder.string())) << "no list";
    std::ofstream(folder / "online") << "0,3,70\n";
    add("node0", "0-1,66\n");
    add("node3", "\n"); // memory alone
    add("node70", "2-3\n");
    const libQuarrow::os::NumaNodes expected = {{0, {{0, 0x3}, {1, 0x4}}}, {3, {}}, {70, {{0, 0xC}}}};
    EXPECT_EQ(readNumaNodes(folder.string()), expected);

    EXPECT_FALSE(onlyPossibleNode(folder.string())) << "not told";
    const std::pair<const char*, std::optional<std::uint32_t>> cases[] = {
        {"0\n", 0}, {"3", 3}, {"63\n", 63}, {"70\n", 70}, {"0-1\n", {}}, {"1,3\n", {}}, {"0,64\n", {}}, {"\n", {}}};
    for (const auto& [list, only] : cases) {
        std::ofstream(folder / "possible") << list;
        EXPECT_EQ(onlyPossibleNode(folder.string()), only) << list;
    }
    std::filesystem::remove_all(folder);
}

// The machine reads them where it must; where there can be one only, it knows them without.
TEST(SystemNumaNodes, OfThisMachineAreThoseOfItsFolders) {
    EXPECT_EQ(libQuarrow::os::nativeMachine().numaNodes(), readNumaNodes("/sys/devices/system/node"));
}

TEST(SystemMicrocode, IsReadFromItsFilesElseFromTheReport) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "quarrow-microcode";
    std::filesystem::remove_all(folder);
    const auto add = [&folder](const std::string& file, const char* text) {
        std::filesystem::create_directories((folder / file).parent_path());
        std::ofstream(folder / file) << text;
    };
    const auto revisions = [&folder] { return readMicrocodeRevisions(folder.string(), (folder / "cpuinfo").string()); };
    EXPECT_EQ(revisions(), MicrocodeRevisions()) << "neither";
    add("online", "0,65\n");
    add("cpu0/microcode/version", "0x2b000590\n");
    add("cpuinfo", "processor\t: 0\nmicrocode\t: 0x1\nflags\t\t: fpu\n\nprocessor\t: 65\nmicrocode\t: 0xffffffff\n"
                   "\nprocessor\t: 4294967295\nmicrocode : 0x2\n\nmicrocode\n:\n\nprocessor : 7\nmicrocode : 0x0\n");
    EXPECT_EQ(revisions(), (MicrocodeRevisions{{{0, 0}, 0x1}})) << "not a file for each; 0 and all ones are none";
    add("cpu65/microcode/version", "0xA601209\n");
    EXPECT_EQ(revisions(), (MicrocodeRevisions{{{0, 0}, 0x2B000590}, {{1, 1}, 0xA601209}}));
    std::filesystem::remove_all(folder);
}

} // namespace
