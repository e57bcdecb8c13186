// The machine that the tests run on: what the system's own records show of it.

// A program may have had these first.
#include <windows.h>

#include <libQuarrow/os/windows/cpu/x86/CpuGroupAPI.h>
#include <libQuarrow/topology/Topology.h>
#include <tests/support/TopologyInvariants.h>

#include <gmock/gmock.h>

using namespace libQuarrow::topology;

namespace {

// Of the records of one relationship, what `entry` makes of each.
template <class Entry, class Make>
std::vector<Entry> recordsOf(LOGICAL_PROCESSOR_RELATIONSHIP relationship, Make entry) {
    std::vector<Entry> entries;
    const auto system = libQuarrow::cpu::CpuGroupAPI::create();
    system->walkLogicalCpuInfo(
        relationship, [&](const SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX& record) { entries.push_back(entry(record)); });
    return entries;
}

ProcessorSet setOf(const Topology& topology, const GROUP_AFFINITY* masks, WORD count) {
    ProcessorSet set;
    for (WORD i = 0; i < count; ++i) {
        for (std::uint32_t bit = 0; bit < 64; ++bit) {
            if ((masks[i].Mask >> bit & 1) != 0) {
                set.insert(topology.numbering().number(masks[i].Group, bit).value());
            }
        }
    }
    return set;
}

TEST(LiveTopology, IsWhatTheSystemsRecordsShow) {
    if (!libQuarrow::cpu::CpuGroupAPI::create()) {
        GTEST_SKIP() << "this Windows knows no processor groups";
    }
    const Topology topology = Topology::read().value();
    EXPECT_EQ(testing_support::contradictionIn(topology), "");
    const auto members = [&](const SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX& record) {
        return setOf(topology, record.Processor.GroupMask, record.Processor.GroupCount);
    };
    EXPECT_THAT(recordsOf<ProcessorSet>(RelationProcessorPackage, members),
                testing::UnorderedElementsAreArray(topology.packages()));
    EXPECT_THAT(recordsOf<ProcessorSet>(RelationProcessorCore, members),
                testing::UnorderedElementsAreArray(topology.cores()));

    using Instance = std::tuple<std::uint32_t, CacheType, std::uint64_t, std::uint32_t, std::uint32_t, std::string>;
    std::vector<Instance> ours;
    for (const Cache& cache : topology.caches()) {
        for (const ProcessorSet& users : cache.sharedBy.value_or(std::vector<ProcessorSet>())) {
            ours.emplace_back(cache.figures.level, cache.figures.type, cache.figures.sizeBytes,
                              cache.figures.lineSizeBytes, cache.figures.ways.value_or(0), users.toList());
        }
    }
    const auto theirs = recordsOf<Instance>(RelationCache, [&](const SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX& record) {
        const CACHE_RELATIONSHIP& cache = record.Cache;
        return Instance(cache.Level,
                        cache.Type == CacheData          ? CacheType::data
                        : cache.Type == CacheInstruction ? CacheType::instruction
                        : cache.Type == CacheUnified     ? CacheType::unified
                                                         : CacheType::trace,
                        cache.CacheSize, cache.LineSize,
                        cache.Associativity == CACHE_FULLY_ASSOCIATIVE ? 0 : cache.Associativity,
                        setOf(topology, &cache.GroupMask, 1).toList());
    });
    EXPECT_THAT(theirs, testing::UnorderedElementsAreArray(ours));
    if (!topology.numaNodes().empty()) {
        std::size_t found = 0;
        recordsOf<int>(RelationNumaNode, [&](const SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX& record) {
            const ProcessorSet expected = setOf(topology, &record.NumaNode.GroupMask, 1);
            EXPECT_EQ(topology.ofNumaNode(record.NumaNode.NodeNumber), expected);
            return static_cast<int>(found += expected.empty() ? 0 : 1);
        });
        EXPECT_EQ(found, topology.numaNodes().size());
    }
}

} // namespace
