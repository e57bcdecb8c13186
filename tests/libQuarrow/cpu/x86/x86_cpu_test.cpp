#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_vendor_info.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/CountingMachine.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/LogCapture.h>

#include <gtest/gtest.h>

#include <set>

using namespace libQuarrow;
using namespace libQuarrow::cpu;
using namespace testing_support;

namespace {

// A Nehalem of two cores with two threads each: levels in leaf 0xB, a cache in leaf 4.
IntelProcessor nehalem(std::uint32_t apicId) {
    IntelProcessor p(0x106E5, "  Intel(R)  Test   CPU  ");
    p.maxLeaf(0xB).counts(8, 16).leaf(4, {0x1C004121, 0x01C0003F, 0x3F, 0});
    p.leaf(0xB, {1, 2, 0x100, apicId}, 0).leaf(0xB, {4, 4, 0x201, apicId}, 1);
    p.recorded.leaves[{1, 0}].ebx |= apicId << 24;
    return p;
}

// A later processor of family 0x17, whose place only the table of the whole machine tells.
AmdProcessor zen2(std::uint32_t apicId) {
    AmdProcessor p(0x870F10);
    p.maxExtendedLeaf(0x8000001E).counts(4, 4);
    p.recorded.leaves[{0x80000001, 0}].ecx |= 1U << 22;
    return p.leaf(0x8000001E, {apicId, 0x100 | apicId / 2, 0x100, 0});
}

AffinityMask maskOf(unsigned int bit) {
    return AffinityMask(WinAffinity(std::uint64_t{1} << bit));
}

template <class Processor>
class Cpus {
  public:
    explicit Cpus(std::vector<Processor> processors)
        : recorded(CurrentMachine::recording(processors)), machine(recorded), scope(machine) {}

    os::RecordedMachine recorded;
    CountingMachine machine;
    os::ScopedMachine scope;
};

TEST(Cpu, RefreshPinsOnceAndReadsNoLeafTwice) {
    const auto check = [](CountingMachine& machine, const x86_cpu& original) {
        ASSERT_TRUE(original.isValid()); // the table of the machine, where it takes one, is made
        machine.counts = {};
        x86_cpu cpu = original;
        cpu.refresh();
        EXPECT_TRUE(cpu.isValid());
        EXPECT_EQ(machine.counts.affinityReads, 1u);
        EXPECT_EQ(machine.counts.affinitySets, 2u) << "there and back";
        for (const auto& [leaf, executions] : machine.counts.cpuidOf) {
            EXPECT_EQ(executions, 1u) << std::hex << leaf.first << " " << leaf.second;
        }
    };
    {
        Cpus<IntelProcessor> intel({nehalem(0)});
        check(intel.machine, x86_cpu(maskOf(0), true, 0, 0));
    }
    {
        Cpus<AmdProcessor> amd({zen2(0), zen2(1)});
        check(amd.machine, x86_cpu(maskOf(1), true, 0, 0));
    }
    CountingMachine native(os::nativeMachine());
    const os::ScopedMachine scope(native);
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    ASSERT_FALSE(cpus.isEmpty());
    check(native, cpus[cpus.size() - 1]);
}

TEST(Cpu, FindsThePinnableProcessors) {
    Cpus<IntelProcessor> intel({nehalem(0), nehalem(1), nehalem(2), nehalem(3)});
    intel.recorded.faults().unpinnable = {2};
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    ASSERT_EQ(cpus.size(), 3u);
    const char* locations[] = {"CPU:0:0:0:0:0", "CPU:0:0:0:0:1", "CPU:0:0:0:1:1"};
    const unsigned int numbers[] = {0, 1, 3};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(cpus[i].getLocation().toString(true), zel::String(locations[i]));
        EXPECT_EQ(cpus[i].getLogicalCpuNumber(), numbers[i]);
    }
    intel.recorded.faults().unpinnable = {0, 1, 2, 3};
    EXPECT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    EXPECT_TRUE(cpus.isEmpty());
    intel.recorded.faults().systemAffinityUnreadable = true;
    cpus.emplace();
    EXPECT_FALSE(x86_cpu::findLogicalCpus(cpus, true));
    EXPECT_TRUE(cpus.isEmpty());
}

TEST(Cpu, ReportToTheLetter) {
    IntelProcessor p = nehalem(3);
    p.leaf(0x80000000, {0x80000001, 0, 0, 0});
    Cpus<IntelProcessor> intel({nehalem(0), p});
    const x86_cpu cpu(maskOf(1), true, 0, 0);
    EXPECT_EQ(cpu.toString(), zel::String("------------------------------------------------------------\n"
                                          "CPU Name            : \n"
                                          "Vendor Name         : GenuineIntel\n"
                                          "Affinity            : 0:0000000000000002h\n"
                                          "Logical CPU Number  : 1\n"
                                          "APIC ID             : 3h\n"
                                          "CPUID w/ EAX = 1    : 000106E5h\n"
                                          "                      Family    :  6h   Model    :  Eh   Stepping:  5h\n"
                                          "                      Ext Family:  0h   Ext Model:  1h\n"
                                          "Cores per package   : 2 (max addressable: 8)\n"
                                          "Threads per package : 4 (max addressable: 16)\n"
                                          "Location            : CPU:0:0:0:1:1\n"
                                          "Features            : CPUID, MSR, TSC, HTT\n"));
    EXPECT_EQ(x86_cpu(maskOf(0), true, 0, 0).getCpuName(), zel::String("Intel(R) Test CPU"));
}

TEST(Cpu, FeatureLists) {
    AmdProcessor p(0x100F42);
    p.recorded.leaves[{1, 0}].edx |= 1U << 23 | 1U << 25;
    p.recorded.leaves[{0x80000001, 0}].edx = 1U << 22 | 1U << 30 | 1U << 31 | 1U << 20 | 1U << 12;
    Cpus<AmdProcessor> amd({p});
    const x86_cpu cpu(maskOf(0), true, 0, 0);
    EXPECT_EQ(cpu.featureList(true), zel::String("MMX(+), 3DNow!(+), SSE, NX"));
    EXPECT_EQ(cpu.featureList(false), zel::String("CPUID, MMX(+), 3DNow!(+), SSE, MSR, TSC, MTRR, NX"));
    EXPECT_TRUE(cpu.supportsFeature(x86_feature_MMX)) << "left out of the text only";

    // True for every argument, on purpose.
    x86_feature_flags absent;
    absent |= x86_feature_AVX512F;
    EXPECT_TRUE(cpu.supportsFeatures(absent));
    EXPECT_TRUE(cpu.areAllowedFeatures(absent));
}

TEST(Cpu, GuardedInstructions) {
    AmdProcessor p(0xF4A);
    p.leaf(0, {2, 0x68747541, 0x444D4163, 0x69746E65});
    p.recorded.msrs[0x10] = 7;
    Cpus<AmdProcessor> amd({p});
    const x86_cpu cpu(maskOf(0), true, 0, 0);
    const x86_cpu none;
    const struct {
        std::uint32_t leaf;
        bool allowed;
    } cases[] = {{0, true},          {2, true},          {3, false},         {0x7FFFFFFF, false},
                 {0x80000000, true}, {0x80000008, true}, {0x80000009, false}};
    for (const auto& c : cases) {
        amd.machine.counts = {};
        unsigned int eax = 0x5A;
        EXPECT_EQ(cpu.callCPUID(c.leaf, &eax, nullptr, nullptr, nullptr), c.allowed) << std::hex << c.leaf;
        cpuid_args out{c.leaf, 0, 0, 0};
        EXPECT_EQ(cpu.callCPUID(out, out), c.allowed);
        EXPECT_EQ(amd.machine.counts.cpuid, c.allowed ? 2u : 0u);
        EXPECT_EQ(eax == 0x5A && amd.machine.counts.affinitySets == 0, !c.allowed);
        EXPECT_FALSE(none.callCPUID(c.leaf, &eax, nullptr, nullptr, nullptr));
    }
    std::uint64_t value = 0;
    EXPECT_TRUE(cpu.callRDTSC(value));
    EXPECT_TRUE(cpu.callRDMSR(0x10, value));
    EXPECT_EQ(value, 7u);
    EXPECT_TRUE(cpu.callWRMSR(0x10, 9));
    EXPECT_FALSE(cpu.callRDMSR(0x99, value)) << "an MSR that is not there";
    EXPECT_FALSE(none.callRDTSC(value));
    EXPECT_FALSE(none.callRDMSR(0x10, value));
    EXPECT_FALSE(none.callWRMSR(0x10, value));
    unsigned int id = 4;
    EXPECT_FALSE(none.getApicId(id));
    EXPECT_EQ(id, 4u);
}

// Whatever fails, the thread is where it was afterwards, nothing is written and nobody is told by log.
TEST(Cpu, FailuresLeaveTheAffinityAsItWas) {
    Cpus<IntelProcessor> intel({nehalem(0), nehalem(1).msr(0x10, 7)});
    const x86_cpu cpu(maskOf(1), true, 0, 0);
    ScopedAffinity start(maskOf(0), true);
    ASSERT_TRUE(start.set());
    const unsigned int never = os::Faults::never;
    const struct {
        const char* what;
        std::set<std::size_t> unpinnable;
        bool unreadable;
        unsigned int failingSet; // from now on
        bool noDriver;
        bool readsMsr, refreshes;
    } cases[] = {
        {"nothing", {}, false, never, false, true, true},
        {"cannot be pinned", {1}, false, never, false, false, false},
        {"affinity unreadable", {}, true, never, false, false, false},
        {"pinning fails", {}, false, 0, false, false, false},
        {"putting back fails once", {}, false, 1, false, true, true},
        {"no MSR driver", {}, false, never, true, false, true},
    };
    for (const auto& c : cases) {
        const auto plant = [&intel, &c] {
            os::Faults& faults = intel.recorded.faults();
            faults.unpinnable = c.unpinnable;
            faults.threadAffinityUnreadable = c.unreadable;
            faults.failingAffinitySet =
                c.failingSet == never ? never : intel.machine.counts.affinitySets + c.failingSet;
            faults.noMsrDriver = c.noDriver;
        };
        const auto isBack = [&intel] {
            intel.recorded.faults() = {};
            return AffinityMask::threadAffinityMask()->toString() == zel::String("0:0000000000000001h");
        };
        const LogCapture log;
        std::uint64_t value = 0x5A;
        plant();
        EXPECT_EQ(cpu.callRDMSR(0x10, value), c.readsMsr) << c.what;
        EXPECT_EQ(value, c.readsMsr ? 7u : 0x5Au) << c.what;
        EXPECT_TRUE(isBack()) << c.what;
        plant();
        x86_cpu again = cpu;
        again.refresh();
        EXPECT_EQ(again.isValid(), c.refreshes) << c.what;
        EXPECT_EQ(again.getVendorName().isEmpty(), !c.refreshes) << c.what;
        EXPECT_TRUE(isBack()) << c.what;
        EXPECT_TRUE(log.messages().empty()) << c.what;
    }
}

TEST(Cpu, CopiesMakeAVendorObjectOfTheirOwn) {
    IntelProcessor other(0x20651);
    Cpus<IntelProcessor> intel({nehalem(0), other});
    x86_cpu first(maskOf(0), true, 0, 0);
    const x86_cpu second(maskOf(1), true, 0, 0);
    zel::String text;
    ASSERT_TRUE(first.getRevisionString(text));
    EXPECT_EQ(text, zel::String("B1"));
    const x86_cpu copy = first;
    EXPECT_NE(copy.vendorInfo(), first.vendorInfo());
    const x86_vendor_info* made = first.vendorInfo();
    first.refresh();
    EXPECT_EQ(first.vendorInfo(), made) << "a refresh keeps it";
    first = second;
    ASSERT_TRUE(first.getRevisionString(text));
    EXPECT_EQ(text, zel::String("C0")) << "of the new processor";
    const x86_cpu moved = std::move(first);
    EXPECT_EQ(moved.getSignature().signature, 0x20651u);
    EXPECT_TRUE(moved.getRevisionString(text));
}

// A Core 2, whose vendor object reads an MSR when it is made.
TEST(Cpu, CacheQueryMovesTheThreadOnceEachWay) {
    Cpus<IntelProcessor> intel({IntelProcessor(0x6F6).leaf(4, {0x1C004121, 0x01C0003F, 0x3F, 0}).msr(0x17, 0)});
    const x86_cpu cpu(maskOf(0), true, 0, 0);
    intel.machine.counts = {};
    x86_caches caches;
    EXPECT_TRUE(cpu.getCaches(caches));
    EXPECT_GT(intel.machine.counts.cpuid, 1u);
    EXPECT_EQ(intel.machine.counts.affinitySets, 2u);
}

// Each processor's leaves are read once for the table, and only the first refresh makes it.
TEST(Cpu, LaterFamily17hByTheTableOfTheMachine) {
    Cpus<AmdProcessor> amd({zen2(0), zen2(1), zen2(2), zen2(3)});
    const LogCapture log;
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    ASSERT_EQ(cpus.size(), 4u);
    for (std::uint32_t i = 0; i < 4; ++i) {
        EXPECT_TRUE(cpus[i].getLocation() == x86_cpu_location(0, 0, 0, i / 2, i % 2)) << i;
        EXPECT_EQ(cpus[i].getNumberCoresPerPhysicalPackage(), 2u);
        EXPECT_EQ(cpus[i].getNumberThreadsPerPhysicalPackage(), 4u);
    }
    EXPECT_EQ((amd.machine.counts.cpuidOf[{0x8000001E, 0}]), 4u);
    EXPECT_EQ(log.messages().size(), 4u + 2u) << "one per processor, and the two reports";
    EXPECT_EQ(log.messages()[0], "2 libQuarrow.cpu_x86.x86_cpu: Topology Leaf Info Supported");
}

// A processor that cannot be reached must not stand in the table with the answers of another one.
TEST(Cpu, TableOfTheProcessorsThatCanBePinned) {
    Cpus<AmdProcessor> amd({zen2(0), zen2(1), zen2(2), zen2(3)});
    amd.recorded.faults().unpinnable = {0, 1};
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    ASSERT_EQ(cpus.size(), 2u);
    EXPECT_EQ(cpus[0].getLocation().toString(true), zel::String("CPU:0:0:0:1:0"));
    EXPECT_EQ(cpus[1].getLocation().toString(true), zel::String("CPU:0:0:0:1:1"));
}

TEST(Cpu, ProcessAffinity) {
    Cpus<IntelProcessor> intel({nehalem(0), nehalem(1)});
    const x86_cpu cpu(maskOf(1), false, 0, 0);
    ASSERT_TRUE(cpu.isValid());
    EXPECT_EQ(cpu.getLocation().thread, 1u);
    EXPECT_EQ(AffinityMask::processAffinityMask()->toString(), zel::String("0:0000000000000003h"));
}

} // namespace
