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

constexpr std::uint32_t topologyExtensions = 1U << 22;
constexpr std::uint32_t cmpLegacy = 2;

// APIC ID 0x0D and 12 threads in leaf 1; ECX of leaves 0x80000001 and 0x80000008.
LiteralReader amd(std::uint32_t extendedMaximum, std::uint32_t signature, std::uint32_t leaf1Edx,
                  std::uint32_t features = 0, std::uint32_t sizes = 0) {
    return LiteralReader("AuthenticAMD", 1, extendedMaximum,
                         {{1, 0, {signature, ids(0x0D, 12), 0, leaf1Edx}},
                          {0x80000001, 0, {0, 0, features, 0}},
                          {0x80000008, 0, {0, 0, sizes, 0}}});
}

// EBX of leaf 0x8000001E: core and threads per core; node 1.
LiteralReader zen(std::uint32_t apicId, std::uint32_t packageThreads, std::uint32_t core) {
    LiteralReader cpuid = amd(0x8000001E, 0x800F11, htt, topologyExtensions, packageThreads - 1);
    cpuid.set({1, 0, {0x800F11, ids(apicId, packageThreads), 0, htt}});
    cpuid.set({0x8000001E, 0, {apicId, core, 0x0301, 0}});
    return cpuid;
}

LiteralReader leafOne(const char* vendor, std::uint32_t maximum, std::uint32_t signature, std::uint32_t edx) {
    return LiteralReader(vendor, maximum, 0, {{1, 0, {signature, ids(3, 2), 0, edx}}});
}

// Location, cores / threads per package, addressable cores / threads, APIC ID.
std::string brief(const x86_topology_facts& f) {
    const zel::String id = f.apicIdValid ? zel::String::SprintfFormat("%X", f.apicId) : zel::String("none");
    return (f.location.toString(true) +
            zel::String::SprintfFormat(" %u/%u %u/%u ", f.coresPerPackage, f.threadsPerPackage, f.maxAddressableCores,
                                       f.maxAddressableThreads) +
            id)
        .toUtf8();
}

TEST(Topology, OfProcessors) {
    const struct {
        const char* what;
        LiteralReader cpuid;
        boost::optional<std::uint64_t> msr; // 0x1A0
        const char* found;
    } cases[] = {
        // clang-format off
        // Intel by initial APIC ID and the counts of leaves 1 and 4.
        {"8 threads, 4 cores",            intel(4, 0x106A5, 0x06, 8, 4),   {}, "CPU:0:0:0:3:0 4/8 4/8 6"},
        {"12 threads, 6 cores",           intel(4, 0x106A5, 0x1B, 12, 6),  {}, "CPU:0:0:1:5:1 6/12 6/12 1B"},
        {"3 threads per core: 2 bits",    intel(4, 0x106A5, 0x36, 12, 4),  {}, "CPU:0:0:3:1:2 4/12 4/12 36"},
        {"fewer threads than cores",      intel(4, 0x106A5, 0x13, 2, 8),   {}, "CPU:0:0:2:3:0 8/2 8/2 13"},
        {"no HTT",                        leafOne("GenuineIntel", 4, 0x106A5, 0), {}, "CPU:0:0:3:0:0 1/1 1/1 3"},
        {"no APIC ID",                    intel(4, 0x681, 3, 2, 1),        {}, "CPU:0:0:5:0:0 1/2 1/2 none"},
        // Without leaf 4: limited by the firmware, but for a Pentium 4 that the MSR or the model clears.
        {"old, one thread",               intel(2, 0xF12, 3, 1, 9),        {}, "CPU:0:0:3:0:0 1/1 1/1 3"},
        {"limit in force",                intel(3, 0xF29, 3, 2, 9), 0x00400000, "CPU:0:0:3:0:0 1/1 1/1 3"},
        {"limit not in force",            intel(2, 0xF29, 3, 2, 9), 0xFFBFFFFF, "CPU:0:0:1:0:1 1/2 1/2 3"},
        {"MSR unreadable, model 2",       intel(2, 0xF29, 3, 2, 9),        {}, "CPU:0:0:1:0:1 1/2 1/2 3"},
        {"MSR unreadable, model 3",       intel(3, 0xF34, 3, 2, 9),        {}, "CPU:0:0:3:0:0 1/1 1/1 3"},
        {"MSR not asked of family 6",     intel(2, 0x6D8, 3, 2, 9),         0, "CPU:0:0:3:0:0 1/1 1/1 3"},
        // Intel by leaf 0xB.
        {"two levels",     intelLevels({{1, 2, 0x100, 0x13}, {4, 16, 0x201, 0x13}}), {}, "CPU:0:0:1:1:1 8/16 8/16 13"},
        {"threads only",   intelLevels({{1, 2, 0x100, 0x13}}),                       {}, "CPU:0:0:9:0:1 0/0 8/16 13"},
        {"last of a kind", intelLevels({{1, 2, 0x100, 0x13}, {2, 4, 0x201, 0x13}, {4, 16, 0x202, 0x13}}), {},
         "CPU:0:0:1:0:1 8/16 8/16 13"},
        {"no thread level", intelLevels({{4, 16, 0x200, 0x13}}),                     {}, "CPU:0:0:119:0:0 1/1 1/1 77"},
        {"a level of none", intelLevels({{1, 0x10000, 0x100, 0x13}, {4, 16, 0x201, 0x13}}), {},
         "CPU:0:0:1:1:1 0/16 8/16 13"},
        {"shrinking shifts", intelLevels({{9, 2, 0x100, 0x81}, {1, 16, 0x201, 0x81}}), {},
         "CPU:0:0:64:0:129 8/16 8/16 81"},
        // AMD family 0x17 up to model 15: fixed bits of the APIC ID, on purpose.
        {"Zen",                      zen(0x49, 16, 0x0104),                       {}, "CPU:0:0:1:4:1 8/16 8/16 49"},
        {"Zen without SMT",          zen(0x0D, 4, 0x0003),                        {}, "CPU:0:0:0:3:0 4/4 4/4 D"},
        // AMD otherwise, by HTT, CmpLegacy and leaf 0x80000008.
        {"AMD, no HTT",              amd(0x80000008, 0x60F82, 0),                 {}, "CPU:0:0:13:0:0 1/1 1/1 D"},
        {"CmpLegacy",                amd(0x80000001, 0x100F42, htt, cmpLegacy),   {}, "CPU:0:0:0:13:0 12/12 12/12 D"},
        {"cores of leaf 0x80000008", amd(0x80000008, 0xA20F12, htt, topologyExtensions, 5), {},
         "CPU:0:0:0:6:1 6/12 6/12 D"},
        {"no leaf 0x80000008",       amd(0x80000001, 0x100F42, htt),              {}, "CPU:0:0:13:0:0 1/1 1/1 D"},
        {"no extended leaves",       amd(0, 0x100F42, htt),                       {}, "CPU:0:0:13:0:0 1/1 1/1 D"},
        {"K7 has no APIC ID",        amd(0, 0x6A0, 0),                            {}, "CPU:0:0:5:0:0 1/1 1/1 none"},
        {"others",                   leafOne("CentaurHauls", 4, 0x6D0, htt),      {}, "CPU:0:0:5:0:0 1/1 1/1 none"},
        // clang-format on
    };
    for (const auto& c : cases) {
        LiteralReader cpuid = c.cpuid;
        EXPECT_EQ(brief(decode(cpuid, c.msr)), c.found) << c.what;
    }
}

// Which Intel signatures have an APIC ID in leaf 1; that models 5 and 6 do and model 3 does not is meant so.
TEST(Topology, FirstApicId) {
    const auto has = [](std::uint32_t signature) {
        LiteralReader cpuid = intel(1, signature, 9, 1, 1);
        x86_topology_facts facts;
        std::uint32_t id = 1;
        const bool valid = x86_topology(processorOf(cpuid), cpuid, {}, facts).getInitialAPICID(id);
        EXPECT_EQ(id, valid ? 9u : 1u);
        return valid;
    };
    for (const std::uint32_t with : {0x399u, 0x652u, 0x660u, 0x6C0u, 0x6D6u, 0x10676u, 0xF12u}) {
        EXPECT_TRUE(has(with)) << std::hex << with;
    }
    for (const std::uint32_t without : {0x480u, 0x543u, 0x619u, 0x633u, 0x672u, 0x686u, 0x695u, 0x6A1u, 0x6B1u}) {
        EXPECT_FALSE(has(without)) << std::hex << without;
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
        {zen(0x49, 16, 0x0104), {std::string("1") + channel + "CPU - socket[1]:node[1]:ccx[1]:core[4]:thread[1]"}},
    };
    for (const auto& c : cases) {
        LiteralReader cpuid = c.cpuid;
        const LogCapture log;
        decode(cpuid);
        EXPECT_EQ(log.messages(), c.messages);
    }
}

} // namespace
