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

// Of family 0x17 the first model whose place only the table of the whole machine tells.
AmdProcessor zen2(std::uint32_t apicId) {
    AmdProcessor p(0x810F00);
    p.maxExtendedLeaf(0x8000001E).counts(4, 4);
    p.recorded.leaves[{0x80000001, 0}].ecx |= 1U << 22;
    return p.leaf(0x8000001E, {apicId, 0x100 | apicId / 2, 0x100, 0});
}

// The processors found: logical number, location, cores / threads per package.
std::string found() {
    zel::Array<x86_cpu> cpus;
    cpus.emplace();
    const bool done = x86_cpu::findLogicalCpus(cpus, true);
    zel::String text = done ? "" : "failed";
    for (const x86_cpu& cpu : cpus) {
        text += zel::String::SprintfFormat("%u %s %u/%u ", cpu.getLogicalCpuNumber(), cpu.getLocation().toString(true),
                                           cpu.getNumberCoresPerPhysicalPackage(),
                                           cpu.getNumberThreadsPerPhysicalPackage());
    }
    return text.toUtf8();
}

void expectThriftyRefresh(CountingMachine& machine) {
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true) && !cpus.isEmpty()); // the machine's table, if any, is made
    x86_cpu cpu = cpus[cpus.size() - 1];
    machine.counts = {};
    cpu.refresh();
    EXPECT_TRUE(cpu.isValid());
    EXPECT_EQ(machine.counts.affinityReads, 1u);
    EXPECT_EQ(machine.counts.affinitySets.size(), 2u) << "there and back";
    for (const auto& [leaf, executions] : machine.counts.cpuidOf) {
        EXPECT_EQ(executions, 1u) << std::hex << leaf.first << " " << leaf.second;
    }
}

TEST(Cpu, RefreshPinsOnceAndReadsNoLeafTwice) {
    CountingMachine native(os::nativeMachine());
    const os::ScopedMachine scope(native);
    expectThriftyRefresh(native);
    CurrentMachine intel({nehalem(0)});
    expectThriftyRefresh(intel.counting);
    CurrentMachine amd({zen2(0), zen2(1)});
    expectThriftyRefresh(amd.counting);
}

TEST(Cpu, FindsThePinnableProcessors) {
    CurrentMachine intel({nehalem(0), nehalem(1), nehalem(2), nehalem(3)});
    intel.faults().unpinnable = {2};
    EXPECT_EQ(found(), "0 CPU:0:0:0:0:0 2/4 1 CPU:0:0:0:0:1 2/4 3 CPU:0:0:0:1:1 2/4 ");
    intel.faults().unpinnable = {0, 1, 2, 3};
    EXPECT_EQ(found(), "");
    intel.faults().systemAffinityUnreadable = true;
    EXPECT_EQ(found(), "failed");
}

// Each processor's leaves are read once for the table, and only the first refresh makes it. One that cannot be reached
// must not stand in it with the answers of another one.
TEST(Cpu, LaterFamily17hByTheTableOfTheMachine) {
    CurrentMachine amd({zen2(0), zen2(1), zen2(2), zen2(3)});
    amd.faults().unpinnable = {0};
    const LogCapture log;
    EXPECT_EQ(found(), "1 CPU:0:0:0:0:0 2/4 2 CPU:0:0:0:1:0 2/4 3 CPU:0:0:0:1:1 2/4 ");
    EXPECT_EQ((amd.counts().cpuidOf[{0x8000001E, 0}]), 3u);
    ASSERT_EQ(log.messages().size(), 6u) << "one per processor, the table's two reports, and the one it lacks";
    EXPECT_EQ(log.messages()[1],
              "4 libQuarrow.cpu_x86.AMD_TopologyInfo: Unable to set affinity mask : 0:0000000000000001h");
    EXPECT_EQ(log.messages()[5], "2 libQuarrow.cpu_x86.x86_cpu: Topology Leaf Info Supported");
    amd.faults() = {};
    const x86_cpu late(maskOf(0), true, 0, 0);
    EXPECT_EQ(late.getLocation().toString(true), "CPU:0:0:0:0:0") << "by its APIC ID";
    EXPECT_EQ(log.messages().back(),
              "2 libQuarrow.cpu_x86.x86_cpu: Failed to use topology leafs to determine CPU topology.");
}

// Whichever setting of an affinity fails, thread and process end where they were, and what is found is placed as ever:
// the table is made once, so one that lacked a processor would place it by another rule from then on.
TEST(Cpu, LaterFamily17hIsPlacedAlikeWhateverFails) {
    for (unsigned int n = 0; n < 2 * 20; ++n) {
        CurrentMachine amd({zen2(0), zen2(1), zen2(2), zen2(3)});
        amd.faults().failingAffinitySet = n / 2;
        zel::Array<x86_cpu> cpus;
        ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, n % 2 != 0));
        EXPECT_GE(cpus.size(), 3u);
        for (const x86_cpu& cpu : cpus) {
            const unsigned int number = cpu.getLogicalCpuNumber();
            EXPECT_EQ(cpu.getLocation(), x86_cpu_location(0, 0, 0, number / 2, number % 2)) << "failing: " << n / 2;
        }
        EXPECT_EQ(brief(AffinityMask::threadAffinityMask()), "0:f") << "failing: " << n / 2;
        EXPECT_EQ(brief(AffinityMask::processAffinityMask()), "0:f") << "failing: " << n / 2;
    }
}

// Read again while the thread is pinned, the system may tell of other processors, and numbers would repeat.
TEST(Cpu, EnumeratesByOneReadingOfTheSystem) {
    CurrentMachine amd(std::vector(130, zen2(0)));
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    EXPECT_EQ(amd.counts().systemReads, 1u);
    EXPECT_EQ(cpus[129].getLogicalCpuNumber(), 129u);
}

TEST(Cpu, FeatureLists) {
    constexpr std::uint32_t ones = 0xFFFFFFFF;
    const auto allFeatures = [](auto processor, std::uint32_t signature) {
        processor.leaf(1, {signature, 0, ones, ones}).leaf(7, {0, ones, 0, 0}).leaf(6, {ones, 0, 0, 0});
        return processor.leaf(0x80000001, {0, 0, ones, ones});
    };
    const CurrentMachine machine(
        {allFeatures(IntelProcessor(0x6F6).maxLeaf(7), 0x6F6), allFeatures(AmdProcessor(0x100F42), 0x100F42)});
    const x86_cpu intel(maskOf(0), true, 0, 0);
    const x86_cpu amd(maskOf(1), true, 0, 0);
    EXPECT_EQ(intel.featureList(true), "MMX, PSE36, EM64T, SSE, SSE2, SSE3, SSSE3, SSE4.1, SSE4.2, AVX, AES, FMA, XD, "
                                       "VMX, IDA, AVX2, AVX512F");
    EXPECT_EQ(amd.featureList(true), "MMX(+), 3DNow!(+), PSE36, x86-64, SSE, SSE2, SSE3, SSSE3, SSE4.1, SSE4.2, SSE4A, "
                                     "AVX, AES, FMA, NX, SVM, XOP");
    EXPECT_TRUE(amd.featureList(false).startsWith("CPUID, MMX(+), 3DNow!(+), PSE36, x86-64, ")) << "copies left out";
    EXPECT_TRUE(amd.supportsFeature(x86_feature_MMX)) << "left out of the text only";

    // True for every argument, on purpose.
    x86_feature_flags absent;
    absent |= x86_feature_EMX;
    EXPECT_TRUE(amd.supportsFeatures(absent) && amd.areAllowedFeatures(absent));
}

TEST(Cpu, GuardedInstructions) {
    CurrentMachine amd({AmdProcessor(0xF4A).leaf(0, {2, 0x68747541, 0x444D4163, 0x69746E65}).msr(0x10, 7)});
    const x86_cpu cpu(maskOf(0), true, 0, 0);
    const x86_cpu none;
    for (const std::uint32_t leaf : {0u, 2u, 3u, 0x7FFFFFFFu, 0x80000000u, 0x80000008u, 0x80000009u}) {
        const bool allowed = leaf <= 2 || (leaf >= 0x80000000 && leaf <= 0x80000008);
        amd.counts() = {};
        unsigned int eax = 0x5A;
        cpuid_args out{leaf, 0, 0, 0};
        EXPECT_EQ(cpu.callCPUID(leaf, &eax, nullptr, nullptr, nullptr), allowed) << std::hex << leaf;
        EXPECT_EQ(cpu.callCPUID(out, out), allowed);
        EXPECT_EQ(amd.counts().cpuid, allowed ? 2u : 0u);
        EXPECT_EQ(eax == 0x5A && amd.counts().affinitySets.empty(), !allowed);
        EXPECT_FALSE(none.callCPUID(leaf, &eax, nullptr, nullptr, nullptr));
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
    CurrentMachine intel({nehalem(0), nehalem(1).msr(0x10, 7)});
    const x86_cpu cpu(maskOf(1), true, 0, 0);
    ScopedAffinity start(maskOf(0), true);
    ASSERT_TRUE(start.set());
    const auto known = [](const x86_cpu& of) {
        unsigned int id = 99;
        of.getApicId(id);
        return zel::String::SprintfFormat(
                   "%u %s %s %X %X %X %u %u/%u %u/%u ", unsigned{of.isAmdOrIntel()}, of.getVendorName(),
                   of.getCpuName(), of.getSignature().signature, of.maxCPUID(), of.maxExtendedCPUID(), id,
                   of.getNumberCoresPerPhysicalPackage(), of.getNumberThreadsPerPhysicalPackage(),
                   of.getMaxAddressableCores(), of.getMaxAddressableThreads()) +
               of.supportedFeatures().toString() + ", allowed " + of.allowedFeatures().toString();
    };
    const auto setsDone = [&] { return static_cast<unsigned int>(intel.counts().affinitySets.size()); };
    const struct {
        const char* what;
        std::function<void(os::Faults&)> plant;
        bool readsMsr, refreshes;
    } cases[] = {
        {"nothing", [](os::Faults&) {}, true, true},
        {"cannot be pinned", [](os::Faults& f) { f.unpinnable = {1}; }, false, false},
        {"affinity unreadable", [](os::Faults& f) { f.threadAffinityUnreadable = true; }, false, false},
        {"pinning fails", [&](os::Faults& f) { f.failingAffinitySet = setsDone(); }, false, false},
        {"putting back fails once", [&](os::Faults& f) { f.failingAffinitySet = setsDone() + 1; }, true, true},
        {"no MSR driver", [](os::Faults& f) { f.noMsrDriver = true; }, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const LogCapture log;
        std::uint64_t value = 0x5A, ticks = 0;
        x86_cpu again = cpu;
        const std::function<void()> reads = [&] { EXPECT_EQ(cpu.callRDMSR(0x10, value), c.readsMsr); };
        const std::function<void()> counts = [&] { EXPECT_EQ(cpu.callRDTSC(ticks), c.refreshes); };
        for (const auto& work : {reads, counts, std::function<void()>([&] { again.refresh(); })}) {
            c.plant(intel.faults());
            work();
            intel.faults() = {};
            EXPECT_TRUE(AffinityMask::threadAffinityMask() == maskOf(0));
        }
        EXPECT_EQ(value, c.readsMsr ? 7u : 0x5Au);
        EXPECT_EQ(again.isValid(), c.refreshes);
        EXPECT_EQ(known(again), known(c.refreshes ? cpu : x86_cpu())) << "no old answer may stay";
        EXPECT_TRUE(log.messages().empty());
    }
    intel.faults().unpinnable = {1};
    x86_caches caches;
    EXPECT_FALSE(cpu.getCaches(caches));
}

TEST(Cpu, CopiesMakeAVendorObjectOfTheirOwn) {
    const CurrentMachine intel({nehalem(0), IntelProcessor(0x20651)});
    x86_cpu cpu(maskOf(0), true, 0, 0);
    const x86_vendor_info* made = cpu.vendorInfo();
    EXPECT_NE(x86_cpu(cpu).vendorInfo(), made);
    cpu.refresh();
    EXPECT_EQ(cpu.vendorInfo(), made) << "a refresh keeps it";
    cpu = x86_cpu(maskOf(1), true, 0, 0);
    zel::String revision;
    EXPECT_TRUE(cpu.getRevisionString(revision));
    EXPECT_EQ(revision, "C0") << "of the new processor";
}

// A Core 2, whose vendor object reads an MSR when it is made.
TEST(Cpu, CacheQueryMovesTheThreadOnceEachWay) {
    CurrentMachine intel({IntelProcessor(0x6F6).leaf(4, {0x1C004121, 0x01C0003F, 0x3F, 0}).msr(0x17, 0)});
    const x86_cpu cpu(maskOf(0), true, 0, 0);
    intel.counts() = {};
    x86_caches caches;
    EXPECT_TRUE(cpu.getCaches(caches));
    EXPECT_GT(intel.counts().cpuid, 1u);
    EXPECT_EQ(intel.counts().affinitySets.size(), 2u);
}

TEST(Cpu, ProcessAffinity) {
    const CurrentMachine intel({nehalem(0), nehalem(1)});
    const x86_cpu cpu(maskOf(1), false, 0, 0);
    EXPECT_TRUE(cpu.isValid() && cpu.getLocation().thread == 1);
    EXPECT_EQ(x86_cpu(maskOf(0) | maskOf(1), false, 0, 0).getLogicalCpuNumber(), 0xFFFFFFFF) << "of no single one";
    EXPECT_TRUE(AffinityMask::processAffinityMask() == (maskOf(0) | maskOf(1)));
}

} // namespace
