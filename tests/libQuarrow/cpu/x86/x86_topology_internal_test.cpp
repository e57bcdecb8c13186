#include <libQuarrow/cpu/x86/x86_decode.h>
#include <libQuarrow/cpu/x86/x86_topology.h>
#include <tests/support/LiteralReader.h>
#include <tests/support/LogCapture.h>

#include <boost/optional.hpp>
#include <gtest/gtest.h>

using namespace libQuarrow::cpu;
using testing_support::LogCapture;

namespace {

constexpr std::uint32_t htt = 1U << 28;
constexpr char channel[] = " libQuarrow.cpu_x86.x86_cpu: ";
const std::string fallback = std::string("1") + channel +
                             "Unable to determine topology information or this CPU does not support it. Interpreting "
                             "each logical CPU as a physical CPU.";

// A processor, the MSR 0x1A0 that it may have, and what is expected of it.
struct Case {
    const char* what;
    LiteralReader cpuid;
    boost::optional<std::uint64_t> msr;
    const char* location; // chassis, node, cpu, core, thread
    std::uint32_t cores, threads, addressableCores, addressableThreads;
    boost::optional<std::uint32_t> apicId;
};

x86_topology::Processor processorOf(CpuidReader& cpuid) {
    x86_topology::Processor processor;
    processor.vendor = decodeVendor(cpuid);
    decodeSignature(cpuid, processor.signature);
    processor.maxCpuid = decodeMaxCpuid(cpuid);
    processor.maxExtendedCpuid = decodeMaxExtendedCpuid(cpuid);
    processor.logicalCpuNumber = 5;
    return processor;
}

x86_topology_facts decode(LiteralReader& cpuid, boost::optional<std::uint64_t> msr = {}) {
    const auto readMsr = [&msr](std::uint32_t number, std::uint64_t& value) {
        value = msr.value_or(0);
        return number == 0x1A0 && msr;
    };
    x86_topology_facts facts;
    x86_topology(processorOf(cpuid), cpuid, readMsr, facts).getTopologyInfo();
    return facts;
}

// EBX of leaf 1: initial APIC ID and logical processors per package.
constexpr std::uint32_t ids(std::uint32_t apicId, std::uint32_t threads) {
    return apicId << 24 | threads << 16;
}

// EAX of leaf 4: core IDs per package.
constexpr std::uint32_t coreIds(std::uint32_t count) {
    return (count - 1) << 26;
}

LiteralReader intel(std::uint32_t maximum, std::uint32_t signature, std::uint32_t apicId, std::uint32_t threads,
                    std::uint32_t cores) {
    return LiteralReader("GenuineIntel", maximum, 0,
                         {{1, 0, {signature, ids(apicId, threads), 0, htt}}, {4, 0, {coreIds(cores), 0, 0, 0}}});
}

// Levels of leaf 0xB: EAX shift, EBX count, ECX type and number, EDX x2APIC ID.
LiteralReader intelLevels(std::initializer_list<cpuid_args> levels) {
    LiteralReader cpuid = intel(0xB, 0x106A5, 0x77, 16, 8);
    std::uint32_t number = 0;
    for (const cpuid_args& level : levels) {
        cpuid.set({0xB, number++, level});
    }
    return cpuid;
}

LiteralReader amd(std::uint32_t extendedMaximum, std::uint32_t signature, std::uint32_t leaf1Edx,
                  std::initializer_list<Leaf> leaves) {
    LiteralReader cpuid("AuthenticAMD", 1, extendedMaximum, {{1, 0, {signature, ids(0x0D, 12), 0, leaf1Edx}}});
    for (const Leaf& leaf : leaves) {
        cpuid.set(leaf);
    }
    return cpuid;
}

constexpr std::uint32_t topologyExtensions = 1U << 22;
constexpr std::uint32_t cmpLegacy = 2;

TEST(Topology, OfProcessors) {
    const Case cases[] = {
        // Intel by initial APIC ID and the counts of leaves 1 and 4.
        {"8 threads, 4 cores", intel(4, 0x106A5, 0x06, 8, 4), {}, "0:0:0:3:0", 4, 8, 4, 8, 0x06u},
        {"12 threads, 6 cores", intel(4, 0x106A5, 0x1B, 12, 6), {}, "0:0:1:5:1", 6, 12, 6, 12, 0x1Bu},
        {"3 threads per core take 2 bits", intel(4, 0x106A5, 0x36, 12, 4), {}, "0:0:3:1:2", 4, 12, 4, 12, 0x36u},
        {"fewer threads than cores", intel(4, 0x106A5, 0x13, 2, 8), {}, "0:0:2:3:0", 8, 2, 8, 2, 0x13u},
        {"no HTT",
         LiteralReader("GenuineIntel", 4, 0, {{1, 0, {0x106A5, ids(3, 2), 0, 0}}}),
         {},
         "0:0:3:0:0",
         1,
         1,
         1,
         1,
         3u},
        {"family 6 model 8 has no APIC ID", intel(4, 0x681, 3, 2, 1), {}, "0:0:5:0:0", 1, 2, 1, 2, {}},
        // Without leaf 4: limited by the firmware, but for a Pentium 4 that the MSR or the model clears.
        {"old, one thread", intel(2, 0xF12, 3, 1, 9), {}, "0:0:3:0:0", 1, 1, 1, 1, 3u},
        {"limit in force", intel(3, 0xF29, 3, 2, 9), 0x00400000, "0:0:3:0:0", 1, 1, 1, 1, 3u},
        {"limit not in force", intel(2, 0xF29, 3, 2, 9), 0xFFBFFFFF, "0:0:1:0:1", 1, 2, 1, 2, 3u},
        {"MSR unreadable, model 2", intel(2, 0xF29, 3, 2, 9), {}, "0:0:1:0:1", 1, 2, 1, 2, 3u},
        {"MSR unreadable, model 3", intel(3, 0xF34, 3, 2, 9), {}, "0:0:3:0:0", 1, 1, 1, 1, 3u},
        {"MSR not asked of family 6", intel(2, 0x6D8, 3, 2, 9), 0, "0:0:3:0:0", 1, 1, 1, 1, 3u},
        // Intel by leaf 0xB.
        {"two levels", intelLevels({{1, 2, 0x100, 0x13}, {4, 16, 0x201, 0x13}}), {}, "0:0:1:1:1", 8, 16, 8, 16, 0x13u},
        {"threads only", intelLevels({{1, 2, 0x100, 0x13}}), {}, "0:0:9:0:1", 0, 0, 8, 16, 0x13u},
        {"the last of a kind counts",
         intelLevels({{1, 2, 0x100, 0x13}, {2, 4, 0x201, 0x13}, {4, 16, 0x202, 0x13}}),
         {},
         "0:0:1:0:1",
         8,
         16,
         8,
         16,
         0x13u},
        {"no thread level", intelLevels({{4, 16, 0x200, 0x13}}), {}, "0:0:119:0:0", 1, 1, 1, 1, 0x77u},
        {"no threads in a thread level",
         intelLevels({{1, 0x10000, 0x100, 0x13}, {4, 16, 0x201, 0x13}}),
         {},
         "0:0:1:1:1",
         0,
         16,
         8,
         16,
         0x13u},
        {"shrinking shifts",
         intelLevels({{9, 2, 0x100, 0x81}, {1, 16, 0x201, 0x81}}),
         {},
         "0:0:64:0:129",
         8,
         16,
         8,
         16,
         0x81u},
        // AMD family 0x17 up to model 15: fixed bits of the APIC ID, here 0x49 and 0x0D.
        {"Zen",
         amd(0x8000001E, 0x800F11, htt,
             {{1, 0, {0x800F11, ids(0x49, 16), 0, htt}},
              {0x80000001, 0, {0, 0, topologyExtensions, 0}},
              {0x80000008, 0, {0, 0, 0x0F, 0}},
              {0x8000001E, 0, {0x49, 0x0104, 0x0301, 0}}}),
         {},
         "0:0:1:4:1",
         8,
         16,
         8,
         16,
         0x49u},
        {"Zen without SMT",
         amd(0x8000001E, 0x800F11, htt,
             {{0x80000001, 0, {0, 0, topologyExtensions, 0}},
              {0x80000008, 0, {0, 0, 0x03, 0}},
              {0x8000001E, 0, {0x0D, 0x0003, 0x0301, 0}}}),
         {},
         "0:0:0:3:0",
         4,
         4,
         4,
         4,
         0x0Du},
        // AMD otherwise, by HTT, CmpLegacy and leaf 0x80000008.
        {"no HTT", amd(0x80000008, 0x60F82, 0, {}), {}, "0:0:13:0:0", 1, 1, 1, 1, 0x0Du},
        {"CmpLegacy",
         amd(0x80000001, 0x100F42, htt, {{0x80000001, 0, {0, 0, cmpLegacy, 0}}}),
         {},
         "0:0:0:13:0",
         12,
         12,
         12,
         12,
         0x0Du},
        {"cores of leaf 0x80000008",
         amd(0x80000008, 0xA20F12, htt,
             {{0x80000001, 0, {0, 0, topologyExtensions, 0}}, {0x80000008, 0, {0, 0, 5, 0}}}),
         {},
         "0:0:0:6:1",
         6,
         12,
         6,
         12,
         0x0Du},
        {"no leaf 0x80000008", amd(0x80000001, 0x100F42, htt, {}), {}, "0:0:13:0:0", 1, 1, 1, 1, 0x0Du},
        {"no extended leaves", amd(0, 0x100F42, htt, {}), {}, "0:0:13:0:0", 1, 1, 1, 1, 0x0Du},
        {"K7 has no APIC ID", amd(0, 0x6A0, 0, {}), {}, "0:0:5:0:0", 1, 1, 1, 1, {}},
        {"others",
         LiteralReader("CentaurHauls", 4, 0, {{1, 0, {0x6D0, ids(3, 2), 0, htt}}}),
         {},
         "0:0:5:0:0",
         1,
         1,
         1,
         1,
         {}},
    };
    for (const Case& c : cases) {
        LiteralReader cpuid = c.cpuid;
        const x86_topology_facts facts = decode(cpuid, c.msr);
        EXPECT_EQ(facts.location.toString(true), "CPU:" + zel::String(c.location)) << c.what;
        EXPECT_EQ(facts.coresPerPackage, c.cores) << c.what;
        EXPECT_EQ(facts.threadsPerPackage, c.threads) << c.what;
        EXPECT_EQ(facts.maxAddressableCores, c.addressableCores) << c.what;
        EXPECT_EQ(facts.maxAddressableThreads, c.addressableThreads) << c.what;
        ASSERT_EQ(facts.apicIdValid, c.apicId.has_value()) << c.what;
        EXPECT_EQ(facts.apicId, c.apicId.value_or(0)) << c.what;
    }
}

TEST(Topology, FirstApicId) {
    const struct {
        const char* vendor;
        std::uint32_t signature;
        bool valid;
    } cases[] = {
        {"GenuineIntel", 0x399, true},  {"GenuineIntel", 0x480, false},  {"GenuineIntel", 0x543, false},
        {"GenuineIntel", 0x619, false}, {"GenuineIntel", 0x633, false},  {"GenuineIntel", 0x652, true},
        {"GenuineIntel", 0x660, true},  {"GenuineIntel", 0x672, false},  {"GenuineIntel", 0x686, false},
        {"GenuineIntel", 0x695, false}, {"GenuineIntel", 0x6A1, false},  {"GenuineIntel", 0x6B1, false},
        {"GenuineIntel", 0x6D6, true},  {"GenuineIntel", 0x10676, true}, {"GenuineIntel", 0xF12, true},
        {"AuthenticAMD", 0xF4A, true},  {"AuthenticAMD", 0x6A0, false},  {"CentaurHauls", 0xF4A, false},
    };
    for (const auto& c : cases) {
        LiteralReader cpuid(c.vendor, 1, 0, {{1, 0, {c.signature, ids(9, 0), 0, 0}}});
        x86_topology_facts facts;
        std::uint32_t id = 1;
        EXPECT_EQ(x86_topology(processorOf(cpuid), cpuid, {}, facts).getInitialAPICID(id), c.valid)
            << c.vendor << std::hex << " " << c.signature;
        EXPECT_EQ(id, c.valid ? 9u : 1u);
    }
}

TEST(Topology, LevelsThatNeverEnd) {
    LiteralReader cpuid("GenuineIntel", 4, 0, {}); // answers ones for every sub-leaf of leaf 0xB
    x86_topology::Processor processor = processorOf(cpuid);
    processor.maxCpuid = 0xB;
    x86_topology_facts facts;
    zel::Array<IntelExtendedTopologyLeaf> levels;
    std::uint32_t id = 0;
    EXPECT_TRUE(x86_topology(processor, cpuid, {}, facts).getIntelExtendedTopologyInfo(levels, id));
    EXPECT_EQ(levels.size(), 256u);
}

TEST(Topology, UntouchedWithoutLeaves) {
    LiteralReader cpuid("GenuineIntel", 0, 0, {});
    x86_topology_facts facts;
    facts.location = x86_cpu_location(1, 2, 3, 4, 5);
    facts.coresPerPackage = 7;
    x86_topology(processorOf(cpuid), cpuid, {}, facts).getTopologyInfo();
    EXPECT_TRUE(facts.location == x86_cpu_location(1, 2, 3, 4, 5));
    EXPECT_EQ(facts.coresPerPackage, 7u);
}

TEST(Topology, Messages) {
    const struct {
        LiteralReader cpuid;
        std::vector<std::string> messages;
    } cases[] = {
        {intel(4, 0x106A5, 6, 8, 4), {}},
        {LiteralReader("GenuineIntel", 1, 0, {}), {fallback}},
        {LiteralReader("CentaurHauls", 1, 0, {}),
         {std::string("1") + channel + "Topology info is not currently supported on CPUs from this manufacturer.",
          fallback}},
        {intel(3, 0x6D8, 0, 1, 1),
         {std::string("3") + channel +
          "CPUID Limit is enabled on CPU making all CPUID leafs above 3 inaccessible. Treating each logical CPU as a "
          "physical CPU."}},
        {amd(0x8000001E, 0x800F11, htt,
             {{1, 0, {0x800F11, ids(0x49, 16), 0, htt}},
              {0x80000001, 0, {0, 0, topologyExtensions, 0}},
              {0x8000001E, 0, {0x49, 0x0104, 0x0301, 0}}}),
         {std::string("1") + channel + "CPU - socket[1]:node[1]:ccx[1]:core[4]:thread[1]"}},
    };
    for (const auto& c : cases) {
        LiteralReader cpuid = c.cpuid;
        const LogCapture log;
        decode(cpuid);
        EXPECT_EQ(log.messages(), c.messages);
    }
    LiteralReader empty = intelLevels({});
    x86_topology_facts facts;
    zel::Array<IntelExtendedTopologyLeaf> levels;
    std::uint32_t id = 0;
    EXPECT_FALSE(x86_topology(processorOf(empty), empty, {}, facts).getIntelExtendedTopologyInfo(levels, id));
}

} // namespace
