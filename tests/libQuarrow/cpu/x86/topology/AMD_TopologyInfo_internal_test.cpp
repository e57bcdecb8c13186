#include <libQuarrow/cpu/x86/topology/AMD_TopologyInfo.h>
#include <tests/support/LiteralReader.h>
#include <tests/support/LogCapture.h>

#include <gtest/gtest.h>

#include <tuple>

using namespace libQuarrow::cpu;
using testing_support::LogCapture;

namespace {

AmdTopologyEntry entry(std::uint64_t mask, std::uint32_t node, std::uint32_t core, std::uint32_t apicId,
                       std::uint32_t threadsPerCore) {
    return {WinAffinity(mask), apicId, node, core, 1, threadsPerCore, 4, {}, {}};
}

TEST(AmdTopology, EntryFromLeaves) {
    LiteralReader cpuid("AuthenticAMD", 1, 0x8000001E,
                        {{0x80000001, 0, {0, 0, 1U << 22, 0}},
                         {0x80000008, 0, {0, 0, 0xFFFFFF0B, 0}},
                         {0x8000001E, 0, {0x12345678, 0xFFFF0107, 0xFFFFFF05, 0}}});
    ASSERT_TRUE(AMD_TopologyInfo::isSupported(cpuid));
    const AmdTopologyEntry e = AmdTopologyEntry::read(cpuid, WinAffinity(1));
    EXPECT_EQ(std::tie(e.extendedApicId, e.coreId, e.threadsPerCore, e.nodeId, e.nodesPerProcessor, e.packageThreads),
              std::make_tuple(0x12345678u, 7u, 2u, 5u, 8u, 12u));
    LiteralReader without("AuthenticAMD", 1, 0x8000001D, {{0x80000001, 0, {0, 0, 1U << 22, 0}}});
    EXPECT_FALSE(AMD_TopologyInfo::isSupported(without));
}

// Two nodes, the first with the higher core, in a jumbled order: threads are numbered by APIC ID, and both nodes are
// socket 0, on purpose.
TEST(AmdTopology, NumbersThreadsAndReports) {
    const LogCapture log;
    const AMD_TopologyInfo table(
        {entry(8, 1, 0, 3, 2), entry(1, 0, 2, 0, 2), entry(4, 1, 0, 2, 2), entry(2, 0, 2, 0xFF, 2)});
    ASSERT_NE(table.find("0:0000000000000008h"), nullptr);
    EXPECT_EQ(*table.find("0:0000000000000008h")->thread, 1u);
    EXPECT_EQ(table.find("0:0000000000000010h"), nullptr);
    const std::vector<std::string> expected = {
        "2 libQuarrow.cpu_x86.AMD_TopologyInfo: \n"
        "CPUID Topology Leafs\n"
        "Node  Core  APIC       Mask                 Nodes/CPU  Thr/CPU  Thr/Core\n"
        "----  ----  ---------  -------------------  ---------  -------  --------\n"
        "   0     2  00000000h  0:0000000000000001h          1        4         2\n"
        "   0     2  000000FFh  0:0000000000000002h          1        4         2\n"
        "   1     0  00000002h  0:0000000000000004h          1        4         2\n"
        "   1     0  00000003h  0:0000000000000008h          1        4         2\n",
        "2 libQuarrow.cpu_x86.AMD_TopologyInfo: \n"
        "Topology Mapping\n"
        "CPU  Node  Core  Thread  APIC        Mask\n"
        "---  ----  ----  ------  ----------- -------------------\n"
        "0     0     2       0    00000000h   0:0000000000000001h\n"
        "0     0     2       1    000000FFh   0:0000000000000002h\n"
        "0     1     0       0    00000002h   0:0000000000000004h\n"
        "0     1     0       1    00000003h   0:0000000000000008h\n"};
    EXPECT_EQ(log.messages(), expected);
}

// A core takes one entry more than it has threads before anybody complains, and the complaint is spelled so; both are
// kept on purpose.
TEST(AmdTopology, TooManyThreadsOnACore) {
    const LogCapture log;
    const AMD_TopologyInfo table(
        {entry(1, 0, 0, 0, 2), entry(2, 0, 0, 1, 2), entry(4, 0, 0, 2, 2), entry(8, 0, 0, 3, 2)});
    ASSERT_EQ(log.messages().size(), 3u) << "of the last one only, between the two reports";
    EXPECT_EQ(log.messages()[1].find("4 libQuarrow.cpu_x86.AMD_TopologyInfo: \nUnexpected condition: thread count "
                                     "exceeeded\n:\nCPUID Topology Leafs\nNode"),
              0u);
    EXPECT_EQ(*table.find("0:0000000000000004h")->thread, 2u);
    EXPECT_EQ(*table.find("0:0000000000000008h")->thread, 2u);
}

// No processor reports a node count of 0 (it is a field plus 1). Only then would a new node open a socket.
TEST(AmdTopology, SocketRule) {
    std::vector<AmdTopologyEntry> list = {entry(1, 0, 0, 0, 1), entry(2, 1, 0, 1, 1)};
    EXPECT_EQ(*AMD_TopologyInfo(list).find("0:0000000000000002h")->socket, 0u);
    list[1].nodesPerProcessor = 0;
    const AMD_TopologyInfo table(list);
    EXPECT_EQ(*table.find("0:0000000000000002h")->socket, 1u);
    EXPECT_EQ(*table.find("0:0000000000000002h")->thread, 0u);
}

} // namespace
