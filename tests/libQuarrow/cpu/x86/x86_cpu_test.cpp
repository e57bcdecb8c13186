#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_vendor_info.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/LogCapture.h>

#include <gtest/gtest.h>

#include <functional>

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
        CurrentMachine intel(std::vector{nehalem(0)});
        check(intel.counting, x86_cpu(maskOf(0), true, 0, 0));
    }
    {
        CurrentMachine amd(std::vector{zen2(0), zen2(1)});
        check(amd.counting, x86_cpu(maskOf(1), true, 0, 0));
    }
    CountingMachine native(os::nativeMachine());
    const os::ScopedMachine scope(native);
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    ASSERT_FALSE(cpus.isEmpty());
    check(native, cpus[cpus.size() - 1]);
}

TEST(Cpu, FindsThePinnableProcessors) {
    CurrentMachine intel(std::vector{nehalem(0), nehalem(1), nehalem(2), nehalem(3)});
    intel.faults().unpinnable = {2};
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    ASSERT_EQ(cpus.size(), 3u);
    const char* locations[] = {"CPU:0:0:0:0:0", "CPU:0:0:0:0:1", "CPU:0:0:0:1:1"};
    const unsigned int numbers[] = {0, 1, 3};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(cpus[i].getLocation().toString(true), zel::String(locations[i]));
        EXPECT_EQ(cpus[i].getLogicalCpuNumber(), numbers[i]);
    }
    intel.faults().unpinnable = {0, 1, 2, 3};
    EXPECT_TRUE(x86_cpu::findLogicalCpus(cpus, true) && cpus.isEmpty());
    intel.faults().systemAffinityUnreadable = true;
    cpus.emplace();
    EXPECT_TRUE(!x86_cpu::findLogicalCpus(cpus, true) && cpus.isEmpty());
}

TEST(Cpu, ReportToTheLetter) {
    IntelProcessor p = nehalem(3);
    p.leaf(0x80000000, {0x80000001, 0, 0, 0});
    const CurrentMachine intel(std::vector{nehalem(0), p});
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
    EXPECT_EQ(x86_cpu(maskOf(0) | maskOf(1), true, 0, 0).getLogicalCpuNumber(), 0xFFFFFFFF) << "of no single one";
}

TEST(Cpu, FeatureLists) {
    AmdProcessor p(0x100F42);
    p.recorded.leaves[{1, 0}].edx |= 1U << 23 | 1U << 25;
    p.recorded.leaves[{0x80000001, 0}].edx = 1U << 22 | 1U << 30 | 1U << 31 | 1U << 20 | 1U << 12;
    const CurrentMachine amd(std::vector{p});
    const x86_cpu cpu(maskOf(0), true, 0, 0);
    EXPECT_EQ(cpu.featureList(true), zel::String("MMX(+), 3DNow!(+), SSE, NX"));
    EXPECT_EQ(cpu.featureList(false), zel::String("CPUID, MMX(+), 3DNow!(+), SSE, MSR, TSC, MTRR, NX"));
    EXPECT_TRUE(cpu.supportsFeature(x86_feature_MMX)) << "left out of the text only";

    // True for every argument, on purpose.
    x86_feature_flags absent;
    absent |= x86_feature_AVX512F;
    EXPECT_TRUE(cpu.supportsFeatures(absent) && cpu.areAllowedFeatures(absent));
}

TEST(Cpu, GuardedInstructions) {
    CurrentMachine amd(std::vector{AmdProcessor(0xF4A).leaf(0, {2, 0x68747541, 0x444D4163, 0x69746E65}).msr(0x10, 7)});
    const x86_cpu cpu(maskOf(0), true, 0, 0);
    const x86_cpu none;
    const struct {
        std::uint32_t leaf;
        bool allowed;
    } cases[] = {{0, true},          {2, true},          {3, false},         {0x7FFFFFFF, false},
                 {0x80000000, true}, {0x80000008, true}, {0x80000009, false}};
    for (const auto& c : cases) {
        amd.counts() = {};
        unsigned int eax = 0x5A;
        cpuid_args out{c.leaf, 0, 0, 0};
        EXPECT_EQ(cpu.callCPUID(c.leaf, &eax, nullptr, nullptr, nullptr), c.allowed) << std::hex << c.leaf;
        EXPECT_EQ(cpu.callCPUID(out, out), c.allowed);
        EXPECT_EQ(amd.counts().cpuid, c.allowed ? 2u : 0u);
        EXPECT_EQ(eax == 0x5A && amd.counts().affinitySets == 0, !c.allowed);
        EXPECT_FALSE(none.callCPUID(c.leaf, &eax, nullptr, nullptr, nullptr));
    }
    std::uint64_t value = 0;
    EXPECT_TRUE(cpu.callRDTSC(value) && cpu.callRDMSR(0x10, value));
    EXPECT_EQ(value, 7u);
    EXPECT_TRUE(cpu.callWRMSR(0x10, 9));
    EXPECT_FALSE(cpu.callRDMSR(0x99, value)) << "an MSR that is not there";
    unsigned int id = 4;
    EXPECT_FALSE(none.callRDTSC(value) || none.callRDMSR(0x10, value) || none.callWRMSR(0x10, 8) || none.getApicId(id));
    EXPECT_EQ(id, 4u);
    EXPECT_EQ(amd.machine.recording().processors[0].msrs.at(0x10), 9u);
}

// Whatever fails, the thread is where it was afterwards, nothing is written and nobody is told by log.
TEST(Cpu, FailuresLeaveTheAffinityAsItWas) {
    CurrentMachine intel(std::vector{nehalem(0), nehalem(1).msr(0x10, 7)});
    const x86_cpu cpu(maskOf(1), true, 0, 0);
    ScopedAffinity start(maskOf(0), true);
    ASSERT_TRUE(start.set());
    const struct {
        const char* what;
        std::function<void(os::Faults&)> plant;
        bool readsMsr, refreshes;
    } cases[] = {
        {"nothing", [](os::Faults&) {}, true, true},
        {"cannot be pinned", [](os::Faults& f) { f.unpinnable = {1}; }, false, false},
        {"affinity unreadable", [](os::Faults& f) { f.threadAffinityUnreadable = true; }, false, false},
        {"pinning fails", [&](os::Faults& f) { f.failingAffinitySet = intel.counts().affinitySets; }, false, false},
        {"putting back fails once", [&](os::Faults& f) { f.failingAffinitySet = intel.counts().affinitySets + 1; },
         true, true},
        {"no MSR driver", [](os::Faults& f) { f.noMsrDriver = true; }, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto isBack = [&intel] {
            intel.faults() = {};
            return AffinityMask::threadAffinityMask() == maskOf(0);
        };
        const LogCapture log;
        std::uint64_t value = 0x5A;
        c.plant(intel.faults());
        EXPECT_EQ(cpu.callRDMSR(0x10, value), c.readsMsr);
        EXPECT_EQ(value, c.readsMsr ? 7u : 0x5Au);
        EXPECT_TRUE(isBack());
        x86_cpu again = cpu;
        c.plant(intel.faults());
        again.refresh();
        EXPECT_EQ(again.isValid(), c.refreshes);
        EXPECT_EQ(again.getVendorName().isEmpty(), !c.refreshes);
        EXPECT_TRUE(isBack());
        EXPECT_TRUE(log.messages().empty());
    }
}

TEST(Cpu, CopiesMakeAVendorObjectOfTheirOwn) {
    const CurrentMachine intel(std::vector{nehalem(0), IntelProcessor(0x20651)});
    x86_cpu first(maskOf(0), true, 0, 0);
    const x86_cpu second(maskOf(1), true, 0, 0);
    const auto revision = [](const x86_cpu& cpu) {
        zel::String text;
        EXPECT_TRUE(cpu.getRevisionString(text));
        return text;
    };
    EXPECT_EQ(revision(first), zel::String("B1"));
    const x86_cpu copy = first;
    const x86_vendor_info* made = first.vendorInfo();
    EXPECT_NE(copy.vendorInfo(), made);
    first.refresh();
    EXPECT_EQ(first.vendorInfo(), made) << "a refresh keeps it";
    first = second;
    EXPECT_EQ(revision(first), zel::String("C0")) << "of the new processor";
    const x86_cpu moved = std::move(first);
    EXPECT_EQ(moved.getSignature().signature, 0x20651u);
    EXPECT_EQ(revision(moved), zel::String("C0"));
}

// A Core 2, whose vendor object reads an MSR when it is made.
TEST(Cpu, CacheQueryMovesTheThreadOnceEachWay) {
    CurrentMachine intel(std::vector{IntelProcessor(0x6F6).leaf(4, {0x1C004121, 0x01C0003F, 0x3F, 0}).msr(0x17, 0)});
    const x86_cpu cpu(maskOf(0), true, 0, 0);
    intel.counts() = {};
    x86_caches caches;
    EXPECT_TRUE(cpu.getCaches(caches));
    EXPECT_GT(intel.counts().cpuid, 1u);
    EXPECT_EQ(intel.counts().affinitySets, 2u);
}

// Each processor's leaves are read once for the table, and only the first refresh makes it. One that cannot be reached
// must not stand in it with the answers of another one.
TEST(Cpu, LaterFamily17hByTheTableOfTheMachine) {
    for (const std::size_t unreachable : {0u, 2u}) {
        CurrentMachine amd(std::vector{zen2(0), zen2(1), zen2(2), zen2(3)});
        for (std::size_t i = 0; i < unreachable; ++i) {
            amd.faults().unpinnable.insert(i);
        }
        const LogCapture log;
        zel::Array<x86_cpu> cpus;
        ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
        ASSERT_EQ(cpus.size(), 4 - unreachable);
        for (const x86_cpu& cpu : cpus) {
            const std::uint32_t id = cpu.getLogicalCpuNumber();
            EXPECT_TRUE(cpu.getLocation() == x86_cpu_location(0, 0, 0, id / 2, id % 2)) << id;
            EXPECT_EQ(cpu.getNumberCoresPerPhysicalPackage(), 2u);
            EXPECT_EQ(cpu.getNumberThreadsPerPhysicalPackage(), 4u);
        }
        EXPECT_EQ((amd.counts().cpuidOf[{0x8000001E, 0}]), cpus.size());
        EXPECT_EQ(log.messages().size(), cpus.size() + 2) << "one per processor, and the two reports";
        EXPECT_EQ(log.messages()[0], "2 libQuarrow.cpu_x86.x86_cpu: Topology Leaf Info Supported");
    }
}

TEST(Cpu, ProcessAffinity) {
    const CurrentMachine intel(std::vector{nehalem(0), nehalem(1)});
    const x86_cpu cpu(maskOf(1), false, 0, 0);
    EXPECT_TRUE(cpu.isValid() && cpu.getLocation().thread == 1);
    EXPECT_TRUE(AffinityMask::processAffinityMask() == (maskOf(0) | maskOf(1)));
}

} // namespace
