// How the topology is taken, and the rules that no machine of the corpus shows alone.

#include <libQuarrow/topology/ProcessorAffinity.h>
#include <libQuarrow/topology/Topology.h>
#include <libQuarrow/topology/names/ProcessorNames.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/TopologyInvariants.h>
#include <tests/support/TopologyTexts.h>

#include <gtest/gtest.h>

using namespace libQuarrow;
using namespace libQuarrow::topology;
using namespace testing_support;

namespace {

constexpr std::uint32_t htt = 1U << 28;

// By leaf 0x1F, whose levels are given as type, shift, type, shift ...
IntelProcessor intel(std::uint32_t id, const std::vector<std::uint32_t>& levels) {
    IntelProcessor processor(0x906A3);
    processor.maxLeaf(0x1F).leaf(1, {0x906A3, id << 24, 0, htt});
    for (std::uint32_t i = 0; i < levels.size() / 2; ++i) {
        processor.leaf(0x1F, {levels[2 * i + 1], 8, levels[2 * i] << 8 | i, id}, i);
    }
    return processor;
}

// A data cache by leaf 4: that many ways of 4 KB, shared by that many IDs.
IntelProcessor& cache(IntelProcessor& processor, std::uint32_t subleaf, std::uint32_t level, std::uint32_t ids,
                      std::uint32_t type = 3, std::uint32_t ways = 8) {
    return processor.leaf(4, {(ids - 1) << 14 | level << 5 | type, (ways - 1) << 22 | 63, 63, 0}, subleaf);
}

template <class Processor>
Topology topologyOf(const std::vector<Processor>& processors) {
    const CurrentMachine machine(processors);
    const Topology topology = Topology::read().value();
    EXPECT_EQ(contradictionIn(topology), "");
    return topology;
}

template <class Processor>
std::string places(const std::vector<Processor>& processors) {
    return placesOf(topologyOf(processors));
}

TEST(Topology, VisitsEachProcessorOnceAndReadsEachLeafOnce) {
    std::vector<IntelProcessor> processors;
    for (std::uint32_t id = 0; id < 3; ++id) {
        processors.push_back(intel(id, {1, 1, 2, 4}));
        cache(cache(processors.back(), 0, 1, 2, 1), 1, 2, 2);
        processors.back().leaf(2, {0x665B5001, 0, 0, 0});
    }
    CurrentMachine machine(processors);
    machine.faults().unpinnable = {1};
    ASSERT_TRUE(cpu::WinAffinity(4).setThreadAffinity());
    machine.counts() = {};
    const Topology topology = Topology::read().value();
    EXPECT_EQ(machine.counts().affinitySets,
              (std::vector<std::string>{"thread 0:1", "thread 0:2", "thread 0:4", "thread 0:4"}));
    EXPECT_EQ(cpu::WinAffinity::threadAffinity().value(), cpu::WinAffinity(4)) << "put back";
    for (const auto& [leaf, count] : machine.counts().cpuidOf) {
        const bool ofPackage = leaf.first >= 0x80000002 && leaf.first <= 0x80000004; // the brand
        EXPECT_EQ(count, ofPackage ? 1U : 2U) << std::hex << leaf.first << " " << leaf.second;
    }
    ASSERT_EQ(topology.leftOut().size(), 1U);
    EXPECT_EQ(topology.leftOut()[0].number, 1U);
    EXPECT_EQ(topology.leftOut()[0].reason, "no thread can be pinned to it");
    EXPECT_EQ(topology.all(), (ProcessorSet{0, 2}));
    machine.counts() = {};
    EXPECT_TRUE(Topology::read(false));
    EXPECT_EQ(machine.counts().affinitySets.front(), "process 0:1");
    {
        const CurrentMachine bare({os::RecordedProcessor(), IntelProcessor(0x673)});
        EXPECT_EQ(Topology::read().value().leftOut().at(0).reason, "it has no CPUID instruction");
    }
    machine.counts() = {};
    machine.counting.currentInstead.emplace(std::uint16_t{0}, std::uint8_t{2}); // no way to go there first
    EXPECT_EQ(Topology::read().value().all(), topology.all());
    EXPECT_EQ(machine.counts().affinitySets,
              (std::vector<std::string>{"thread 0:4", "thread 0:1", "thread 0:2", "thread 0:4"}));
    machine.faults().threadAffinityUnreadable = true;
    const Topology kept = Topology::read().value(); // what cannot be put back is not changed
    ASSERT_EQ(kept.leftOut().size(), 3U);
    EXPECT_TRUE(kept.leftOut()[0].number == 0 && kept.leftOut()[1].number == 1 && kept.leftOut()[2].number == 2);
    machine.faults().systemAffinityUnreadable = true;
    EXPECT_FALSE(Topology::read());
}

TEST(Topology, AsksOncePerPackageAndMachineForWhatTheyHaveInCommon) {
    std::vector<IntelProcessor> processors;
    for (const std::uint32_t id : {0U, 1U, 16U, 17U}) { // two packages
        processors.push_back(intel(id, {1, 1, 2, 4}));
        processors.back().leaf(1, {0x906A3, id << 24, 1U << 31, htt}).leaf(0x80000000, {0x80000004, 0, 0, 0});
        processors.back().leaf(0x80000002, {id < 16 ? 0x41U : 0x42U, 0, 0, 0}); // A, B
        processors.back().leaf(0x40000000, {0x40000001, 0x4B4D564B, 0x564B4D56, 0x4D});
    }
    CurrentMachine machine(processors);
    const Topology topology = Topology::read().value();
    std::string brands;
    for (const topology::Processor& processor : topology.processors()) {
        brands += processor.identity->brand;
        EXPECT_EQ(processor.identity->hypervisor.value().signature, "KVMKVMKVM");
    }
    EXPECT_EQ(brands, "AABB");
    EXPECT_EQ((machine.counts().cpuidOf[{0x80000002, 0}]), 2U);
    EXPECT_EQ((machine.counts().cpuidOf[{0x40000000, 0}]), 2U) << "one for each model";
    EXPECT_EQ((machine.counts().cpuidOf[{0x1F, 0}]), 4U);
}

TEST(Topology, TakesTheLevelsThatItKnows) {
    const std::pair<std::vector<std::uint32_t>, const char*> cases[] = {
        // Package, die, complex, module, core, thread of IDs 0, 1, 2 and 8.
        {{1, 1, 2, 4}, "0/-/-/-/0/0 0/-/-/-/0/1 0/-/-/-/1/0 0/-/-/-/2/0"},
        {{1, 1, 2, 2, 3, 3, 5, 6}, "0/0/-/0/0/0 0/0/-/0/0/1 0/0/-/0/1/0 0/1/-/1/2/0"},
        {{1, 1, 2, 1, 3, 2, 5, 6}, "0/0/-/0/0/0 0/0/-/0/0/1 0/0/-/1/1/0 0/1/-/2/2/0"}, // a module of one core
        {{1, 1, 2, 1, 5, 3, 6, 6}, "0/0/-/-/0/0 0/0/-/-/0/1 0/1/-/-/1/0 0/2/-/-/2/0"}, // groups of dies have no name
        {{1, 1, 99, 3, 2, 6}, "0/-/-/-/0/0 0/-/-/-/0/1 0/-/-/-/0/2 0/-/-/-/1/0"}, // unknown: counts with the one inside
        {{1, 1, 2, 3, 99, 4}, "0/-/-/-/0/0 0/-/-/-/0/1 0/-/-/-/1/0 0/-/-/-/2/0"}, // unknown: in the package
        {{1, 1, 2, 2, 2, 3}, "0/-/-/-/0/0 0/-/-/-/0/1 0/-/-/-/1/0 1/-/-/-/2/0"},  // twice: the first
        {{1, 2, 2, 1}, "0/-/-/-/0/0 0/-/-/-/0/1 0/-/-/-/0/2 1/-/-/-/1/0"},        // falls: does not count
        {{1, 1}, "0/-/-/-/0/0 0/-/-/-/0/1 1/-/-/-/1/0 2/-/-/-/2/0"},              // threads alone
        {{2, 3}, "0/-/-/-/0/0 0/-/-/-/1/0 0/-/-/-/2/0 1/-/-/-/3/0"},              // cores alone
    };
    for (const auto& [levels, expected] : cases) {
        EXPECT_EQ(places(std::vector{intel(0, levels), intel(1, levels), intel(2, levels), intel(8, levels)}),
                  expected);
    }
}

// What most of its like say holds for one that says something else.
TEST(Topology, IsNotSpoiltByOneOddProcessor) {
    const std::vector<std::uint32_t> levels = {1, 1, 2, 3};
    std::vector<IntelProcessor> processors;
    for (std::uint32_t id = 0; id < 8; ++id) {
        processors.push_back(intel(id, levels));
    }
    const std::string right = places(processors);
    const std::vector<std::vector<std::uint32_t>> oddLevels = {{1, 0, 2, 31}, {2, 0}, {1, 31}, {}};
    for (const std::vector<std::uint32_t>& odd : oddLevels) {
        processors[3] = intel(3, odd);
        EXPECT_EQ(places(processors), right);
    }
    // One that tells the ID of another is in a package of its own, wherever it stands.
    processors[3] = intel(5, levels);
    processors[3].recorded.leaves[{1, 0}].ebx = 0x03000000;
    EXPECT_EQ(places(processors), right) << "leaf 1 tells them apart";
    processors[3].recorded.leaves[{1, 0}].ebx = 0x07000000;
    const Topology topology = topologyOf(processors);
    EXPECT_EQ(topology.packages(), (std::vector<ProcessorSet>{{0, 1, 2, 4, 5, 6, 7}, {3}}));
    EXPECT_EQ(topology.processors()[3].apicId, 5U);
    // One that tells no caches is outside the complexes that those of the others are.
    for (std::uint32_t id = 0; id < 8; ++id) {
        processors[id] = intel(id, levels);
        if (id != 3) {
            cache(processors[id], 0, 3, 4);
        }
    }
    EXPECT_EQ(topologyOf(processors).complexes(), (std::vector<ProcessorSet>{{0, 1, 2}, {4, 5, 6, 7}}));
    // Old machines of two processors tell nothing, and some hypervisors do.
    EXPECT_EQ(places(std::vector(2, IntelProcessor(0x673))), "0/-/-/-/0/0 1/-/-/-/1/0");
}

// Leaf 1, with leaf 4 or without.
TEST(Topology, FallsBackOnTheInitialId) {
    const auto processor = [](std::uint32_t signature, std::uint32_t id, std::uint32_t ids, std::uint32_t cores) {
        IntelProcessor built(signature);
        built.leaf(1, {signature, id << 24 | ids << 16, 0, htt});
        return cores != 0 ? built.leaf(4, {(cores - 1) << 26 | 0x121, 0x01C0003F, 63, 0}) : built;
    };
    const auto three = [&processor](std::uint32_t signature, std::uint32_t ids, std::uint32_t cores) {
        return places(std::vector{processor(signature, 0, ids, cores), processor(signature, 1, ids, cores),
                                  processor(signature, 4, ids, cores)});
    };
    EXPECT_EQ(three(0x6F2, 4, 2), "0/-/-/-/0/0 0/-/-/-/0/1 1/-/-/-/1/0");
    EXPECT_EQ(three(0x6F2, 2, 2), "0/-/-/-/0/0 0/-/-/-/1/0 1/-/-/-/2/0");
    EXPECT_EQ(three(0xF29, 2, 0), "0/-/-/-/0/0 0/-/-/-/0/1 1/-/-/-/1/0") << "a Pentium 4";
    EXPECT_EQ(three(0x6F2, 2, 0), "0/-/-/-/0/0 0/-/-/-/1/0 1/-/-/-/2/0");
    EXPECT_EQ(three(0x6F2, 0, 0), "0/-/-/-/0/0 1/-/-/-/1/0 2/-/-/-/2/0");
}

// Family 15h with nodes of six cores: each pair a module, and an L3 that counts 8 IDs.
TEST(Topology, KeepsAmdsNodesTogether) {
    std::vector<AmdProcessor> processors;
    for (std::uint32_t id = 0; id < 12; ++id) {
        AmdProcessor processor(0x600F20);
        processor.counts(12, 12).maxExtendedLeaf(0x8000001E).leaf(0x80000001, {0, 0, 1U << 22, 0});
        processor.leaf(0x80000008, {0, 0, 0x500B, 0}).leaf(0x8000001E, {32 + id, 0x100 | id / 2, 0x100 | id / 6, 0});
        processor.leaf(0x8000001D, {1U << 14 | 0x43, 15U << 22 | 63, 2047, 0});
        processor.leaf(0x8000001D, {7U << 14 | 0x63, 47U << 22 | 63, 2047, 0}, 1);
        processors.push_back(processor);
    }
    const Topology topology = topologyOf(processors);
    EXPECT_EQ(topology.dies(), (std::vector<ProcessorSet>{{0, 1, 2, 3, 4, 5}, {6, 7, 8, 9, 10, 11}}));
    EXPECT_EQ(topology.cores().size(), 12U);
    EXPECT_EQ(topology.modules().size(), 6U);
    ASSERT_EQ(topology.caches().size(), 2U);
    EXPECT_EQ(textOf(topology.caches()[0]), "L2 unified 2048 K 16-way: 0-1 2-3 4-5 6-7 8-9 10-11");
    EXPECT_EQ(textOf(topology.caches()[1]), "L3 unified 6144 K 48-way: 0-5 6-11");
    EXPECT_EQ(topology.sharingCache(7, 3), topology.dies()[1]);
    EXPECT_FALSE(topology.sharingCache(7, 1) || topology.sharingCache(99, 3));
    AmdProcessor zen2(0x830F10); // from it on a node is the package
    zen2.maxExtendedLeaf(0x8000001E).leaf(0x80000001, {0, 0, 1U << 22, 0}).leaf(0x8000001E, {0, 0x100, 0, 0});
    EXPECT_TRUE(topologyOf(std::vector{zen2}).dies().empty());
}

TEST(Topology, TellsKindsOnlyWhereTheyAreTold) {
    const auto hybrid = [](std::uint32_t id, std::uint32_t type, std::uint32_t l3) {
        IntelProcessor processor = intel(id, {1, 1, 2, 7});
        processor.leaf(7, {0, 0, 0, 1U << 15}).leaf(0x1A, {type << 24 | 1, 0, 0, 0});
        cache(processor, 0, 1, 2, 1);
        return l3 == 0 ? processor : cache(processor, 1, 3, l3);
    };
    const Topology intelHybrid =
        topologyOf(std::vector{hybrid(0, 0x40, 64), hybrid(1, 0x40, 64), hybrid(8, 0x20, 64), hybrid(64, 0x20, 0),
                               hybrid(66, 0x30, 64), hybrid(72, 0x20, 64)});
    EXPECT_EQ(intelHybrid.ofKind(CoreKind::performance), (ProcessorSet{0, 1}));
    EXPECT_EQ(intelHybrid.oneThreadPerCore(intelHybrid.ofKind(CoreKind::performance)), ProcessorSet{0});
    EXPECT_EQ(intelHybrid.oneThreadPerCore(ProcessorSet{1, 3, 99}), (ProcessorSet{1, 3}))
        << "the lowest of those asked for";
    EXPECT_EQ(intelHybrid.ofKind(CoreKind::efficient), ProcessorSet{2});
    EXPECT_EQ(intelHybrid.ofKind(CoreKind::lowPower), (ProcessorSet{3, 5})) << "without the L3, or with another";
    EXPECT_FALSE(intelHybrid.processors()[4].kind);
    // No L3 anywhere: nobody is outside it.
    EXPECT_EQ(topologyOf(std::vector{hybrid(0, 0x40, 0), hybrid(8, 0x20, 0)}).ofKind(CoreKind::efficient),
              ProcessorSet{1});

    const auto amd = [](std::uint32_t id, std::uint32_t type) {
        AmdProcessor processor(0xB60F00);
        processor.maxExtendedLeaf(0x80000026).leaf(0x80000026, {1U << 30 | 1, type << 28 | 2, 0x100, id});
        return processor.leaf(0x80000026, {4, 4, 0x401, id}, 1);
    };
    EXPECT_EQ(topologyOf(std::vector{amd(0, 0), amd(2, 1)}).ofKind(CoreKind::efficient), ProcessorSet{1});
    EXPECT_FALSE(topologyOf(std::vector{amd(0, 0), amd(2, 0)}).processors()[0].kind) << "says several, has one";
}

// Whatever the maker: leaves 0x80000005 and 6, else leaf 2; what nobody tells is not guessed.
TEST(Topology, FindsCachesAndTlbsInOldLeaves) {
    const auto texts = [](const Topology& topology) {
        std::vector<std::string> all;
        for (const Cache& found : topology.caches()) {
            all.push_back(textOf(found));
        }
        return all;
    };
    using Texts = std::vector<std::string>;
    EXPECT_EQ(texts(topologyOf(std::vector{AmdProcessor(0x100F42).caches()})),
              (Texts{"L1 data 64 K 2-way: 0", "L1 instruction 64 K 2-way: 0", "L2 unified 512 K 16-way: 0",
                     "L3 unified 6144 K 48-way: 0"}));
    IntelProcessor pentium(0xF29);
    pentium.leaf(1, {0xF29, 2U << 16, 0, htt}).leaf(2, {0x665B5001, 0x80000000 | 0x22, 0, 0x007B7040});
    IntelProcessor sibling = pentium;
    sibling.recorded.leaves[{1, 0}].ebx |= 1U << 24;
    const Topology netburst = topologyOf(std::vector{pentium, sibling});
    EXPECT_EQ(texts(netburst),
              (Texts{"L1 data 8 K 4-way: 0-1", "L1 trace 12 K 8-way: 0-1", "L2 unified 512 K 8-way: 0-1"}));
    ASSERT_EQ(netburst.tlbs().size(), 2U);
    EXPECT_EQ(netburst.tlbs()[0].figures, (TlbFigures{1, TlbType::data, {0x1000, 0x400000}, 64, std::nullopt}));
    EXPECT_EQ(netburst.tlbs()[0].processors, (ProcessorSet{0, 1}));
    // Two cores, of whose L2 leaf 2 does not say whether they share it.
    IntelProcessor twoCores(0x6E8);
    twoCores.leaf(1, {0x6E8, 2U << 16, 0, htt}).leaf(2, {0x7D2C3001, 0, 0, 0});
    IntelProcessor second = twoCores;
    second.recorded.leaves[{1, 0}].ebx |= 1U << 24;
    EXPECT_EQ(
        texts(topologyOf(std::vector{twoCores, second})),
        (Texts{"L1 data 32 K 8-way: 0 1", "L1 instruction 32 K 8-way: 0 1", "L2 unified 2048 K 8-way: not told"}));
    EXPECT_EQ(texts(topologyOf(std::vector{IntelProcessor(0xF64).leaf(2, {0x4901, 0, 0, 0})})),
              Texts{"L3 unified 4096 K 16-way: 0"})
        << "a Xeon MP, whose descriptor is others' L2";
    AmdProcessor via = AmdProcessor(0x680).leaf(0, {1, 0x746E6543, 0x736C7561, 0x48727561}); // CentaurHauls
    EXPECT_EQ(texts(topologyOf(std::vector{via.leaf(0x80000006, {0, 0, 0x40040120, 0})})),
              Texts{"L2 unified 64 K 4-way: 0"});
    AmdProcessor amd = AmdProcessor(0x100F42).maxExtendedLeaf(0x80000019).leaf(0x80000006, {0, 0x6200, 0, 0});
    const Topology amdTlbs = topologyOf(std::vector{amd.leaf(0x80000019, {0xF040F040, 0x60100000, 0, 0})});
    ASSERT_EQ(amdTlbs.tlbs().size(), 4U);
    EXPECT_EQ(amdTlbs.tlbs()[2].figures, (TlbFigures{2, TlbType::data, {0x40000000}, 16, 8}));
    EXPECT_EQ(amdTlbs.tlbs()[3].figures, (TlbFigures{2, TlbType::unified, {0x1000}, 512, 8}));
    // Leaf 0x18: sub-leaf 0 says which is the last; a null one stands between.
    IntelProcessor modern = intel(0, {1, 1, 2, 4});
    modern.leaf(0x18, {2, 0, 0, 0}).leaf(0x18, {0, 1U | 4U << 16, 16, 2}, 1); // of no level: of the first
    modern.leaf(0x18, {0, 8U | 4U << 16, 1, 1U << 8 | 2U << 5 | 3}, 2)
        .leaf(0x18, {0, 1U | 1U << 16, 1, 1U << 5 | 1}, 3);
    const std::vector<Tlb> tlbs = topologyOf(std::vector{modern}).tlbs();
    ASSERT_EQ(tlbs.size(), 2U);
    EXPECT_EQ(tlbs[0].figures, (TlbFigures{1, TlbType::instruction, {0x1000}, 64, 4}));
    EXPECT_EQ(tlbs[1].figures, (TlbFigures{2, TlbType::unified, {0x40000000}, 4, 0}));
}

TEST(Topology, KnowsTheSystemsNodesAndNumbers) {
    os::Recording recording = CurrentMachine::recording(std::vector(4, IntelProcessor(0x673)));
    recording.processors[3].group = 1; // number 67, with a hole
    recording.processors[3].microcode = 0x2B000590;
    recording.numaNodes = {{0, {{0, 0x3}}}, {2, {{0, 0x6}, {1, 0x8}}}, {5, {}}};
    os::RecordedMachine machine(recording);
    const os::ScopedMachine scope(machine);
    const Topology topology = Topology::read().value();
    EXPECT_EQ(contradictionIn(topology), "");
    EXPECT_EQ(topology.all().toList(), "0-2,67");
    ASSERT_EQ(topology.numaNodes().size(), 3U);
    EXPECT_EQ(topology.ofNumaNode(0), (ProcessorSet{0, 1}));
    EXPECT_EQ(topology.ofNumaNode(2), (ProcessorSet{2, 67})) << "1 is in the node that named it first";
    EXPECT_TRUE(topology.ofNumaNode(5).empty() && topology.ofNumaNode(1).empty());
    EXPECT_EQ(topology.find(67)->numaNode, 2U);
    EXPECT_EQ(topology.find(67)->microcode, std::nullopt) << "nobody asked for it";
    TopologyRequest request;
    request.microcode = true;
    const Topology asked = Topology::read(request).value();
    EXPECT_EQ(asked.find(67)->microcode, 0x2B000590U);
    EXPECT_EQ(asked.find(2)->microcode, std::nullopt);
    EXPECT_EQ(affinityOf(topology.ofNumaNode(2), topology.numbering()).toString(),
              "0:0000000000000004h/1:0000000000000008h");
}

TEST(Topology, KnowsWhoAProcessorIs) {
    IntelProcessor guest(0x11507B3, "  Some Processor   "); // its extended family is reserved
    guest.leaf(1, {0x11507B3, 7, 1U << 31, 0}).leaf(0x40000000, {0x40000001, 0x4B4D564B, 0x564B4D56, 0x0000004D});
    guest.leaf(0x40000001, {0x01000000, 0, 0, 0});
    guest.leaf(0x80000000, {0x80000008, 0, 0, 0}).leaf(0x80000008, {0x302E, 0, 0, 0});
    const Topology topology = topologyOf(std::vector{guest});
    const ProcessorIdentity& identity = *topology.processors()[0].identity;
    EXPECT_EQ(identity.vendor, "GenuineIntel");
    EXPECT_EQ(identity.brand, "Some Processor");
    EXPECT_EQ(identity.family, 7U);
    EXPECT_EQ(identity.model, 0x5BU);
    EXPECT_EQ(identity.stepping, 3U);
    EXPECT_EQ(identity.physicalAddressBits, 46U);
    EXPECT_EQ(identity.linearAddressBits, 48U);
    ASSERT_TRUE(identity.hypervisor);
    EXPECT_EQ(identity.hypervisor->signature, "KVMKVMKVM");
    EXPECT_EQ(identity.hypervisor->interfaceSignature, 0x01000000U);
    EXPECT_TRUE(identity.furtherHypervisors.empty());
    EXPECT_FALSE(identity.avx10);
}

// Interfaces of hypervisors, up to the first range of leaves that does not name a leaf of its own.
TEST(Topology, KnowsEachInterfaceOfAHypervisor) {
    const cpu::cpuid_args hyperV = {0x40000005, 0x7263694D, 0x666F736F, 0x76482074};
    const cpu::cpuid_args kvm = {0x40000101, 0x4B4D564B, 0x564B4D56, 0x4D};
    const struct {
        std::vector<std::pair<std::uint32_t, cpu::cpuid_args>> ranges;
        const char* signatures;
    } cases[] = {
        {{{0x40000000, hyperV}, {0x40000001, {7, 0, 0, 0}}, {0x40000100, kvm}, {0x40000101, {9, 0, 0, 0}}},
         "Microsoft Hv, KVMKVMKVM 9"},
        {{{0x40000000, {0, 0x4B4D564B, 0x564B4D56, 0x4D}}}, "KVMKVMKVM"}, // as older hosts answer
        {{{0x40000000, hyperV}, {0x40000200, kvm}}, "Microsoft Hv"},
        {{{0x40000000, hyperV}, {0x40000100, hyperV}}, "Microsoft Hv"}, // answers every range alike
        {{{0x40000000, {0x40000FFF, 0x41414141, 0, 0}}, {0x40000100, kvm}},
         "AAAA"},                                              // the leaf is the first range's own
        {{{0x40000000, {7, 2, 9, 0}}, {0x40000100, kvm}}, ""}, // what a leaf beyond the maximum answers
    };
    for (const auto& row : cases) {
        IntelProcessor guest(0xA06D1);
        guest.leaf(1, {0xA06D1, 0, 1U << 31, 0});
        for (const auto& [leaf, registers] : row.ranges) {
            guest.leaf(leaf, registers);
        }
        const ProcessorIdentity identity = *topologyOf(std::vector{guest}).processors()[0].identity;
        std::string signatures = identity.hypervisor.value().signature;
        for (const Hypervisor& further : identity.furtherHypervisors) {
            signatures += ", " + further.signature + " " + std::to_string(further.interfaceSignature.value_or(0));
        }
        EXPECT_EQ(signatures, row.signatures);
    }
}

TEST(Topology, KnowsWhichAvx10) {
    IntelProcessor processor(0xA06D1);
    processor.maxLeaf(0x24).leaf(7, {1, 0, 0, 0}).leaf(0x24, {0, 0x50102, 0, 0});
    EXPECT_FALSE(topologyOf(std::vector{processor}).processors()[0].identity->avx10) << "leaf 7 says no";
    processor.leaf(7, {0, 0, 0, 1U << 19}, 1);
    EXPECT_EQ(topologyOf(std::vector{processor}).processors()[0].identity->avx10, (Avx10{2, {128, 512}}));
    processor.maxLeaf(0x23);
    EXPECT_FALSE(topologyOf(std::vector{processor}).processors()[0].identity->avx10) << "no such leaf";
}

// A brand string may be padded, and the third kind of core has a name of its own. The package of family 0Fh follows
// from its model. Whether a hypervisor's zeros are a package nobody knows.
TEST(ProcessorNames, AreToldWhereTheyAreKnown) {
    NamedProcessor processor{"AuthenticAMD", "", 0x19, 0x61, 2};
    EXPECT_EQ(namesOf(processor).package, "");
    processor.packageType = 0;
    EXPECT_EQ(namesOf(processor).package, "AM5");
    processor.packageType = 9;
    EXPECT_EQ(namesOf(processor).package, "");
    EXPECT_EQ(namesOf({"AuthenticAMD", "", 0x0F, 0x27, 0, {}, 0}).package, "Socket 939");
    EXPECT_EQ(namesOf({"GenuineIntel", "", 0x06, 0x2A, 7, {}, 0}).package, "");
    EXPECT_EQ(namesOf({"GenuineIntel", "Intel(R) Xeon(R) CPU           X5355", 6, 0x0F, 7}).codename, "Clovertown");
    EXPECT_EQ(namesOf({"GenuineIntel", "", 6, 0xC5, 0, NamedProcessor::Core::lowPower}).microarchitecture, "Crestmont");
    AmdProcessor real(0xA60F12);
    real.maxExtendedLeaf(0x80000001).leaf(0x80000001, {0xA60F12, 0, 0, 0});
    AmdProcessor guest = real;
    guest.leaf(1, {0xA60F12, 0, 1U << 31, 0});
    EXPECT_EQ(namesOf(topologyOf(std::vector{real}).processors()[0]).package, "AM5");
    EXPECT_EQ(namesOf(topologyOf(std::vector{guest}).processors()[0]).package, "");
}

} // namespace
