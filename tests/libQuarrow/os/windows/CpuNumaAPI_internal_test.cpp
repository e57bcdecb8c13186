#include <libQuarrow/os/windows/CpuNumaAPI.h>

#include <gtest/gtest.h>

using libQuarrow::os::CpuNumaAPI;

namespace {

BOOL WINAPI highestIsThree(PULONG node) {
    *node = 3;
    return TRUE;
}

BOOL WINAPI refuse(PULONG) {
    return FALSE;
}

// Node 0 has two processors, node 1 is not there, node 2 has no processors, node 3 is of another group.
BOOL WINAPI maskOfNode(USHORT node, PGROUP_AFFINITY affinity) {
    *affinity = {};
    affinity->Mask = node == 0 ? 0x3 : node == 3 ? 0x30 : 0;
    affinity->Group = node == 3 ? 1 : 0;
    return node != 1;
}

TEST(CpuNumaAPI, AsksEachNode) {
    CpuNumaAPI api;
    EXPECT_TRUE(api.m_pGetNumaHighestNodeNumber != nullptr && api.m_pGetNumaNodeProcessorMaskEx != nullptr);
    api.m_pGetNumaHighestNodeNumber = &highestIsThree;
    api.m_pGetNumaNodeProcessorMaskEx = &maskOfNode;
    const libQuarrow::os::NumaNodes expected = {{0, {{0, 0x3}}}, {3, {{1, 0x30}}}};
    EXPECT_EQ(api.nodes(), expected);
    api.m_pGetNumaHighestNodeNumber = &refuse;
    EXPECT_FALSE(api.nodes());
    api.m_pGetNumaHighestNodeNumber = nullptr;
    EXPECT_FALSE(api.nodes());
}

} // namespace
