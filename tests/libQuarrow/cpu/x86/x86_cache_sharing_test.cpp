#include <libQuarrow/cpu/x86/x86_cache_sharing.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/IntelProcessor.h>

#include <gtest/gtest.h>

using namespace libQuarrow::cpu;
using namespace testing_support;

namespace {

// "L3: 0 1 | 2 3", one line for each kind; "L3: 2 each" where it is not known who shares.
std::string text(const std::vector<x86_cache_kind>& kinds) {
    std::string lines;
    for (const x86_cache_kind& kind : kinds) {
        lines += std::string(lines.empty() ? "" : "\n") + x86_cache::levelText(kind.cache.getCacheLevel()) + ":";
        if (!kind.instancesKnown) {
            lines += " " + std::to_string(kind.cache.getThreadsSharing()) + " each";
            continue;
        }
        for (const auto& instance : kind.instances) {
            lines += &instance == &kind.instances.front() ? "" : " |";
            for (const x86_cpu* cpu : instance) {
                lines += " " + std::to_string(cpu->getLogicalCpuNumber());
            }
        }
    }
    return lines;
}

// An Opteron 6344: two nodes of six cores, with an L3 cache for each node and an L2 cache for each pair of cores, whose
// IDs follow one another from 0x20 on.
AmdProcessor opteron6344(std::uint32_t core) {
    AmdProcessor p(0x600F20);
    p.maxExtendedLeaf(0x8000001E).counts(12, 12);
    p.recorded.leaves[{1, 0}].ebx |= core << 24;
    p.recorded.leaves[{0x80000001, 0}].ecx |= 1U << 22;
    p.leaf(0x8000001D, {0x4143, 0x3C0003F, 0x7FF, 1}).leaf(0x8000001D, {0x14163, 0xBC0003F, 0x7FF, 1}, 1);
    return p.leaf(0x8000001E, {0x20 + core, 0x100 | core / 2, 0x100 | core / 6, 0});
}

// A family 0x19 whose APIC ID has more than 8 bits, in leaf 1 cut off; leaf `wide` has it whole.
AmdProcessor large(std::uint32_t apicId, std::uint32_t wide) {
    AmdProcessor p(0xA10F11);
    p.maxExtendedLeaf(0x80000026).leaf(0, {0x10, 0x68747541, 0x444D4163, 0x69746E65}).counts(2, 2);
    p.recorded.leaves[{1, 0}].ebx |= apicId << 24;
    p.recorded.leaves[{0x80000001, 0}].ecx |= 1U << 22;
    p.leaf(0x8000001D, {0x4163, 0x3C0003F, 0x7FF, 1});
    return wide != 0 ? p.leaf(wide, {1, 2, 0x100, apicId}) : p;
}

std::vector<AmdProcessor> largeMachine(std::uint32_t wide) {
    return {large(0, wide), large(0x100, wide), large(1, wide), large(0x101, wide)};
}

// An L2 cache that leaf 4 says two processors share.
IntelProcessor core2(std::uint32_t apicId) {
    IntelProcessor p(0x6F6);
    p.leaf(4, {0x04004143, 0x03C0003F, 0xFFF, 0}).counts(2, 2).recorded.leaves[{1, 0}].ebx |= apicId << 24;
    return p;
}

TEST(x86_cache_sharing, finds_who_shares_each_cache) {
    std::vector<AmdProcessor> opteron;
    for (std::uint32_t core = 0; core < 12; ++core) {
        opteron.push_back(opteron6344(core));
    }
    const struct {
        const char* what;
        libQuarrow::os::Recording machine;
        const char* expected;
    } cases[] = {
        {"nodes of six cores", CurrentMachine::recording(opteron),
         "L2: 0 1 | 2 3 | 4 5 | 6 7 | 8 9 | 10 11\nL3: 0 1 2 3 4 5 | 6 7 8 9 10 11"},
        {"leaf 0x80000026", CurrentMachine::recording(largeMachine(0x80000026)), "L3: 0 2 | 1 3"},
        {"leaf 0xB", CurrentMachine::recording(largeMachine(0xB)), "L3: 0 2 | 1 3"},
        {"8 bits of the ID are too few", CurrentMachine::recording(largeMachine(0)), "L3: 2 each"},
        {"an ID for each", CurrentMachine::recording(std::vector<IntelProcessor>{core2(0), core2(1), core2(2)}),
         "L2: 0 1 | 2"},
        {"an ID for all", CurrentMachine::recording(std::vector<IntelProcessor>(3, core2(0))), "L2: 2 each"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        libQuarrow::os::RecordedMachine machine(test.machine);
        const libQuarrow::os::ScopedMachine scope(machine);
        zel::Array<x86_cpu> cpus;
        ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
        EXPECT_EQ(text(x86_cache_sharing().kindsOf(cpus)), test.expected);
        EXPECT_EQ(text(x86_cache_sharing().kindsOf(zel::Array<x86_cpu>())), "");
    }
}

// What is asked during the visit that reads a processor costs no visit of its own, and answers as it does otherwise.
TEST(x86_cache_sharing, needs_no_visit_of_its_own) {
    CurrentMachine machine({core2(0), core2(1), core2(2)});
    x86_cache_sharing sharing;
    std::vector<const x86_cpu*> visited;
    const x86_physical_cpus tree(true, [&](const x86_cpu& cpu) {
        visited.push_back(&cpu);
        sharing.read(cpu);
    });
    EXPECT_EQ(text(sharing.kindsOf(visited)), "L2: 0 1 | 2");
    EXPECT_EQ(text(sharing.kindsOf(tree[0])), "L2: 0 1");
    x86_caches caches;
    EXPECT_TRUE(sharing.cachesOf(tree[0], caches));
    EXPECT_EQ(machine.counts().affinitySets, (std::vector<std::string>{"thread 0:1", "thread 0:7", "thread 0:2",
                                                                       "thread 0:7", "thread 0:4", "thread 0:7"}));
    x86_caches asked;
    EXPECT_TRUE(tree[0].getCaches(asked));
    EXPECT_EQ(asked.toString(0), caches.toString(0));
    EXPECT_EQ(asked.size(), 1u);
}

} // namespace
