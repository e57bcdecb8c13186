#include <libQuarrow/cpu/x86/decode/x86_identification.h>
#include <libQuarrow/cpu/x86/topology/x86_topology.h>
#include <tests/support/LiteralReader.h>
#include <tests/support/LogCapture.h>

#include <boost/optional.hpp>
#include <gtest/gtest.h>

using namespace libQuarrow::cpu;

namespace {

constexpr std::uint32_t htt = 1U << 28;
constexpr std::uint32_t topologyExtensions = 1U << 22;
constexpr std::uint32_t cmpLegacy = 2;

LiteralReader intel(std::uint32_t maximum, std::uint32_t signature, std::uint32_t apicId, std::uint32_t threads,
                    std::uint32_t cores) {
    return LiteralReader("GenuineIntel", maximum, 0,
                         {{1, 0, {signature, apicId << 24 | threads << 16, 0, htt}}, {4, 0, {(cores - 1) << 26}}});
}

// Levels of leaf 0xB: EAX shift, EBX count, ECX type and number, EDX x2APIC ID.
LiteralReader levels(std::initializer_list<cpuid_args> list) {
    LiteralReader cpuid = intel(0xB, 0x106A5, 0x77, 16, 8);
    std::uint32_t number = 0;
    for (const cpuid_args& level : list) {
        cpuid.set({0xB, number++, level});
    }
    return cpuid;
}

// APIC ID 0x49 and 12 threads in leaf 1; ECX of leaves 0x80000001 and 0x80000008, EBX of leaf 0x8000001E; node 1.
LiteralReader amd(std::uint32_t extendedMaximum, std::uint32_t signature, std::uint32_t leaf1Edx,
                  std::uint32_t features = 0, std::uint32_t sizes = 0, std::uint32_t core = 0) {
    return LiteralReader("AuthenticAMD", 1, extendedMaximum,
                         {{1, 0, {signature, 0x490C0000, 0, leaf1Edx}},
                          {0x80000001, 0, {0, 0, features, 0}},
                          {0x80000008, 0, {0, 0, sizes, 0}},
                          {0x8000001E, 0, {0x49, core, 0x0301, 0}}});
}

x86_topology::Processor processorOf(CpuidReader& cpuid) {
    x86_cpu_signature signature;
    decodeSignature(cpuid, signature);
    return {decodeVendor(cpuid), signature, decodeMaxCpuid(cpuid), decodeMaxExtendedCpuid(cpuid), 5, {}};
}

// What the rows below call the messages.
const std::map<std::string, std::string> messageNames = {
    {"1 libQuarrow.cpu_x86.x86_cpu: Unable to determine topology information or this CPU does not support it. "
     "Interpreting each logical CPU as a physical CPU.",
     "fallback"},
    {"1 libQuarrow.cpu_x86.x86_cpu: Topology info is not currently supported on CPUs from this manufacturer.", "maker"},
    {"3 libQuarrow.cpu_x86.x86_cpu: CPUID Limit is enabled on CPU making all CPUID leafs above 3 inaccessible. "
     "Treating each logical CPU as a physical CPU.",
     "limit"},
    {"1 libQuarrow.cpu_x86.x86_cpu: Trouble reading Intel Extended Topology Leaf", "trouble"},
    {"1 libQuarrow.cpu_x86.x86_cpu: CPU - socket[1]:node[1]:ccx[1]:core[4]:thread[1]", "fixed bits"},
    {"1 libQuarrow.cpu_x86.x86_cpu: CPU - socket[1]:node[1]:ccx[1]:core[3]:thread[0]", "fixed bits, no thread"},
};

// Location, cores / threads per package, addressable cores / threads, APIC ID, messages.
std::string decode(CpuidReader& cpuid, boost::optional<std::uint64_t> msr = {}, x86_topology_facts f = {}) {
    const auto readMsr = [&msr](std::uint32_t number, std::uint64_t& value) {
        value = msr.value_or(0);
        return number == 0x1A0 && msr;
    };
    const testing_support::LogCapture log;
    x86_topology(processorOf(cpuid), cpuid, readMsr, f).getTopologyInfo();
    const zel::String counts =
        zel::String::SprintfFormat(f.apicIdValid ? " %u/%u %u/%u %X" : " %u/%u %u/%u none", f.coresPerPackage,
                                   f.threadsPerPackage, f.maxAddressableCores, f.maxAddressableThreads, f.apicId);
    std::string text = (f.location.toString(true) + counts).toUtf8();
    for (const std::string& message : log.messages()) {
        const auto name = messageNames.find(message);
        text += ", " + (name != messageNames.end() ? name->second : message);
    }
    return text;
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
        {"12 threads, 6 cores",         intel(4, 0x106A5, 0x1B, 12, 6), {}, "CPU:0:0:1:5:1 6/12 6/12 1B"},
        {"3 threads per core: 2 bits",  intel(4, 0x106A5, 0x36, 12, 4), {}, "CPU:0:0:3:1:2 4/12 4/12 36"},
        {"fewer threads than cores",    intel(4, 0x106A5, 0x13, 2, 8),  {}, "CPU:0:0:2:3:0 8/2 8/2 13"},
        {"no HTT", LiteralReader("GenuineIntel", 4, 0, {{1, 0, {0x106A5, 0x03020000}}}), {},
         "CPU:0:0:3:0:0 1/1 1/1 3, fallback"},
        {"no APIC ID",                  intel(4, 0x681, 3, 2, 1),       {}, "CPU:0:0:5:0:0 1/2 1/2 none"},
        // Without leaf 4: limited by the firmware, but for a Pentium 4 that the MSR or the model clears.
        {"old, one thread",             intel(2, 0xF12, 3, 1, 9),       {}, "CPU:0:0:3:0:0 1/1 1/1 3, limit"},
        {"limit in force",              intel(3, 0xF29, 3, 2, 9), 0x400000, "CPU:0:0:3:0:0 1/1 1/1 3, limit"},
        {"limit not in force",          intel(2, 0xF29, 3, 2, 9), 0xFFBFFFFF, "CPU:0:0:1:0:1 1/2 1/2 3"},
        {"MSR unreadable, model 2",     intel(2, 0xF29, 3, 2, 9),       {}, "CPU:0:0:1:0:1 1/2 1/2 3"},
        {"MSR unreadable, model 3",     intel(3, 0xF34, 3, 2, 9),       {}, "CPU:0:0:3:0:0 1/1 1/1 3, limit"},
        {"MSR not asked of family 6",   intel(2, 0x6D8, 3, 2, 9),        0, "CPU:0:0:3:0:0 1/1 1/1 3, limit"},
        // Intel by leaf 0xB.
        {"threads only",     levels({{1, 2, 0x100, 0x12345}}),                    {}, "CPU:0:0:37282:0:1 0/0 8/16 12345"},
        {"last of a kind",   levels({{1, 2, 0x100, 0x13}, {2, 4, 0x201, 0x13}, {4, 16, 0x202, 0x13}}), {},
         "CPU:0:0:1:0:1 8/16 8/16 13"},
        {"no thread level",  levels({{4, 16, 0x200, 0x13}}), {}, "CPU:0:0:119:0:0 1/1 1/1 77, fallback"},
        {"a level of none",  levels({{1, 65536, 0x100, 0x13}, {4, 16, 0x201, 0x13}}), {}, "CPU:0:0:1:1:1 0/16 8/16 13"},
        {"shrinking shifts", levels({{9, 2, 0x100, 0x81}, {1, 16, 0x201, 0x81}}), {}, "CPU:0:0:64:0:129 8/16 8/16 81"},
        // AMD family 0x17 up to model 15: fixed bits of the APIC ID, on purpose.
        {"Zen",              amd(0x8000001E, 0x800F11, htt, topologyExtensions, 15, 0x104), {},
         "CPU:0:0:1:4:1 8/16 8/16 49, fixed bits"},
        {"its last model",   amd(0x8000001E, 0x800FF0, htt, topologyExtensions, 15, 0x104), {},
         "CPU:0:0:1:4:1 8/16 8/16 49, fixed bits"},
        {"Zen without SMT",  amd(0x8000001E, 0x800F11, htt, topologyExtensions, 3, 0x003), {},
         "CPU:0:0:1:3:0 4/4 4/4 49, fixed bits, no thread"},
        // AMD otherwise, by HTT, CmpLegacy and leaf 0x80000008.
        {"Zen 2, no topology leaves", amd(0x8000001E, 0x870F10, htt, 0, 5),          {}, "CPU:0:0:4:4:1 6/12 6/12 49"},
        {"leaf 0x80000008",  amd(0x8000001E, 0xA20F12, htt, topologyExtensions, 5),  {}, "CPU:0:0:4:4:1 6/12 6/12 49"},
        {"AMD, no HTT",      amd(0x80000008, 0x60F82, 0),               {}, "CPU:0:0:73:0:0 1/1 1/1 49"},
        {"CmpLegacy",        amd(0x80000001, 0x100F42, htt, cmpLegacy), {}, "CPU:0:0:4:9:0 12/12 12/12 49"},
        {"no leaf 0x80000008", amd(0x80000001, 0x100F42, htt),          {}, "CPU:0:0:73:0:0 1/1 1/1 49, fallback"},
        {"no extended leaves", amd(0, 0x100F42, htt),                   {}, "CPU:0:0:73:0:0 1/1 1/1 49, fallback"},
        {"K7 has no APIC ID",  amd(0, 0x6A0, 0),                        {}, "CPU:0:0:5:0:0 1/1 1/1 none"},
        {"others", LiteralReader("CentaurHauls", 4, 0, {}), {}, "CPU:0:0:5:0:0 1/1 1/1 none, maker, fallback"},
        // clang-format on
    };
    for (const auto& c : cases) {
        LiteralReader cpuid = c.cpuid;
        EXPECT_EQ(decode(cpuid, c.msr), c.found) << c.what;
    }
    LiteralReader without("GenuineIntel", 0, 0, {}); // must be left alone
    EXPECT_EQ(decode(without, {}, {{1, 2, 3, 4, 5}, 6, true, 7, 8, 9, 10}), "CPU:1:2:3:4:5 7/8 10/9 6");
}

// Which Intel signatures have an APIC ID in leaf 1; that models 5 and 6 do and model 3 does not is meant so.
TEST(Topology, FirstApicId) {
    std::string with;
    const std::uint32_t signatures[] = {0x399, 0x480, 0x543, 0x619, 0x633, 0x652, 0x660, 0x672,
                                        0x686, 0x695, 0x6A1, 0x6B1, 0x6C0, 0x6D6, 0xF12, 0x10676};
    for (const std::uint32_t signature : signatures) {
        LiteralReader cpuid = intel(1, signature, 9, 1, 1);
        x86_topology_facts facts;
        std::uint32_t id = 1;
        const bool valid = x86_topology(processorOf(cpuid), cpuid, {}, facts).getInitialAPICID(id);
        EXPECT_EQ(id, valid ? 9u : 1u);
        with += valid ? zel::String::SprintfFormat("%X ", signature).toUtf8() : "";
    }
    EXPECT_EQ(with, "399 652 660 6C0 6D6 F12 10676 ");
}

TEST(Topology, LevelsThatNeverEnd) {
    LiteralReader cpuid("GenuineIntel", 4, 0, {}); // answers ones for every sub-leaf of leaf 0xB
    x86_topology_facts facts;
    zel::Array<IntelExtendedTopologyLeaf> found;
    std::uint32_t id = 0;
    EXPECT_TRUE(x86_topology(processorOf(cpuid), cpuid, {}, facts).getIntelExtendedTopologyInfo(found, id));
    EXPECT_EQ(found.size(), 256u);
}

TEST(Topology, LevelsThatAreGoneWhenReadAgain) {
    struct Forgetful : LiteralReader {
        explicit Forgetful(const LiteralReader& all) : LiteralReader(all) {}
        cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf) override {
            const cpuid_args answer = LiteralReader::read(leaf, subleaf);
            if (leaf == 0xB) {
                set({0xB, 0, {}});
            }
            return answer;
        }
    } cpuid(levels({{1, 2, 0x100, 0x13}}));
    EXPECT_EQ(decode(cpuid), "CPU:0:0:119:0:0 1/1 1/1 77, trouble, fallback");
}

} // namespace
