#include <libQuarrow/os/linux/SystemNumaNodes.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

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
    std::filesystem::remove_all(folder);
}

} // namespace
