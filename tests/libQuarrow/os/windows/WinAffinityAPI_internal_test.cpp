#include <libQuarrow/os/windows/cpu/x86/WinGroupAffinityAPI.h>
#include <libQuarrow/os/windows/cpu/x86/WinLegacyAffinityAPI.h>

#include <libQuarrow/cpu/ScopedAffinity.h>
#include <tests/support/AffinityTexts.h>

#include <gtest/gtest.h>

namespace libQuarrow::cpu {
namespace {

// What the entry points below work on. They are plain functions, so it is one for all; each test starts afresh.
struct FakeKernel {
    GROUP_AFFINITY threadGroup{};
    BOOL answer = TRUE; // of the calls that answer a BOOL
    DWORD_PTR process = 0xF, system = 0xFF, thread = 0x3;
    unsigned int threadMaskFailsAt = 0; // the n-th setting of a thread mask, from 1
    unsigned int threadMaskCalls = 0;
    std::vector<GROUP_AFFINITY> selected, processDefault; // CPU sets of the thread and by default
    std::vector<GROUP_AFFINITY> packages;                 // of the system, one each
} kernel;

class WinAffinityBackends : public testing::Test {
  protected:
    WinAffinityBackends() { kernel = FakeKernel(); }

    // They all fail for another thread or process.
    static CpuGroupAPI fakeGroupAPI() {
        CpuGroupAPI api = CpuGroupAPI::create().value();
        api.m_pGetProcessGroupAffinity = nullptr; // never called
        api.m_pGetThreadGroupAffinity = [](HANDLE thread, PGROUP_AFFINITY affinity) -> BOOL {
            *affinity = kernel.threadGroup;
            return thread == GetCurrentThread() ? kernel.answer : FALSE;
        };
        api.m_pSetThreadGroupAffinity = [](HANDLE thread, const GROUP_AFFINITY* wanted, PGROUP_AFFINITY previous) {
            *previous = kernel.threadGroup;
            const bool valid =
                thread == GetCurrentThread() && (wanted->Reserved[0] | wanted->Reserved[1] | wanted->Reserved[2]) == 0;
            kernel.threadGroup = kernel.answer != FALSE ? *wanted : kernel.threadGroup;
            return valid ? kernel.answer : FALSE;
        };
        return api;
    }
    static BOOL copyMasks(const std::vector<GROUP_AFFINITY>& from, PGROUP_AFFINITY masks, USHORT count,
                          PUSHORT required) {
        *required = static_cast<USHORT>(from.size());
        std::copy_n(from.begin(), std::min<std::size_t>(count, from.size()), masks);
        return count >= from.size() ? TRUE : FALSE;
    }
    // What a system of several groups has that lets threads run in all of them.
    static CpuSetAPI fakeCpuSetAPI() {
        CpuSetAPI api;
        api.m_pGetThreadSelectedCpuSetMasks = [](HANDLE thread, PGROUP_AFFINITY masks, USHORT count, PUSHORT required) {
            return thread == GetCurrentThread() ? copyMasks(kernel.selected, masks, count, required) : FALSE;
        };
        api.m_pGetProcessDefaultCpuSetMasks = [](HANDLE process, PGROUP_AFFINITY masks, USHORT count,
                                                 PUSHORT required) {
            return process == GetCurrentProcess() ? copyMasks(kernel.processDefault, masks, count, required) : FALSE;
        };
        api.m_pSetThreadSelectedCpuSetMasks = [](HANDLE thread, PGROUP_AFFINITY masks, USHORT count) -> BOOL {
            kernel.selected.assign(masks, masks + count);
            return thread == GetCurrentThread() ? TRUE : FALSE;
        };
        return api;
    }
    static BOOL WINAPI packageRecords(LOGICAL_PROCESSOR_RELATIONSHIP, SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX* buffer,
                                      PDWORD length) {
        const auto needed = static_cast<DWORD>(kernel.packages.size() * sizeof *buffer);
        const bool enough = *length >= needed;
        *length = needed;
        for (std::size_t i = 0; enough && i < kernel.packages.size(); ++i) {
            buffer[i] = {};
            buffer[i].Size = sizeof *buffer;
            buffer[i].Processor.GroupCount = 1;
            buffer[i].Processor.GroupMask[0] = kernel.packages[i];
        }
        return enough ? TRUE : FALSE;
    }
    static CpuLegacyAPI fakeLegacyAPI() {
        CpuLegacyAPI api = CpuLegacyAPI::create().value();
        api.m_pGetProcessAffinityMask = [](HANDLE process, PDWORD_PTR processMask, PDWORD_PTR systemMask) -> BOOL {
            *processMask = kernel.process;
            *systemMask = kernel.system;
            return process == GetCurrentProcess() ? kernel.answer : FALSE;
        };
        api.m_pSetProcessAffinityMask = [](HANDLE process, DWORD_PTR mask) -> BOOL {
            kernel.process = mask;
            return process == GetCurrentProcess() ? kernel.answer : FALSE;
        };
        api.m_pSetThreadAffinityMask = [](HANDLE thread, DWORD_PTR mask) -> DWORD_PTR {
            const bool fails = ++kernel.threadMaskCalls == kernel.threadMaskFailsAt || thread != GetCurrentThread();
            return fails ? 0 : std::exchange(kernel.thread, mask);
        };
        return api;
    }

    WinGroupAffinityAPI groups{fakeGroupAPI()};
    WinLegacyAffinityAPI legacy{fakeLegacyAPI()};
};

TEST_F(WinAffinityBackends, GroupsPinTheThreadToTheFirstEntryAndNeverTheProcess) {
    EXPECT_TRUE(groups.supportsCpuGroups());
    EXPECT_TRUE(groups.setThreadAffinity(WinAffinity({{2, 0x1}, {1, 0x6}})));
    EXPECT_EQ(brief(groups.threadAffinity()), "1:6");
    EXPECT_FALSE(groups.setThreadAffinity(WinAffinity()) || groups.setProcessAffinity(WinAffinity(1)));
    kernel.answer = FALSE;
    EXPECT_FALSE(groups.setThreadAffinity(WinAffinity(1)));
    EXPECT_EQ(brief(groups.threadAffinity()), "none");
    EXPECT_EQ(kernel.threadGroup.Group, 1);
}

// A thread of a system with two groups pins itself and goes back. Its CPU sets are then those of before; where it had
// none but the whole of its group, it may have run in all groups, and all are selected. Elsewhere nothing is.
TEST_F(WinAffinityBackends, CpuSetsArePutBackWithTheThread) {
    using Masks = std::vector<GROUP_AFFINITY>;
    const Masks both{{0xFF, 0, {}}, {0xF, 1, {}}};
    const struct {
        const char* what;
        GROUP_AFFINITY thread;
        Masks packages, selected, processDefault;
        bool newSystem;
        const char* afterwards;
    } cases[] = {
        {"in all groups", {0xFF, 0, {}}, both, {}, {}, true, "0:ff 1:f"},
        {"the same before Windows 11", {0xFF, 0, {}}, both, {}, {}, false, ""},
        {"bound to a part", {0x3, 0, {}}, both, {}, {}, true, ""},
        {"sets of its own", {0xFF, 0, {}}, both, {{0x3, 0, {}}, {0x1, 1, {}}}, {}, true, "0:3 1:1"},
        {"the process's sets", {0xFF, 0, {}}, both, {}, {{0x1, 1, {}}}, true, ""},
        {"one group in two packages", {0xFF, 0, {}}, {{0xF, 0, {}}, {0xF0, 0, {}}}, {}, {}, true, ""},
    };
    for (const auto& test : cases) {
        kernel = FakeKernel();
        kernel.threadGroup = test.thread;
        kernel.packages = test.packages;
        kernel.processDefault = test.processDefault;
        kernel.selected = test.selected;
        CpuGroupAPI groupAPI = fakeGroupAPI();
        groupAPI.m_pGetLogicalProcessorInformationEx = &packageRecords;
        WinGroupAffinityAPI api(groupAPI, boost::make_optional(test.newSystem, fakeCpuSetAPI()));
        const WinAffinity before(api.threadAffinity().value());
        EXPECT_TRUE(api.setThreadAffinity(WinAffinity({{1, 1}}))) << test.what;
        kernel.selected.clear(); // as if setting the affinity had taken them
        EXPECT_TRUE(api.setThreadAffinity(before)) << test.what;
        EXPECT_EQ(brief(WinAffinity({GroupAffinity(kernel.threadGroup)})), brief(before)) << test.what;
        EXPECT_EQ(brief(std::vector<GroupAffinity>(kernel.selected.begin(), kernel.selected.end())), test.afterwards)
            << test.what;
    }
}

TEST_F(WinAffinityBackends, LegacyTakesOneMaskOfGroupZero) {
    EXPECT_FALSE(legacy.supportsCpuGroups());
    for (const WinAffinity& refused : {WinAffinity(), WinAffinity({{1, 1}}), WinAffinity({{0, 1}, {1, 1}})}) {
        EXPECT_FALSE(legacy.setThreadAffinity(refused) || legacy.setProcessAffinity(refused)) << brief(refused);
    }
    EXPECT_TRUE(legacy.setThreadAffinity(WinAffinity(5)) && legacy.setProcessAffinity(WinAffinity(6)));
    EXPECT_EQ(brief(legacy.systemAffinity()), "0:ff");
    EXPECT_EQ(brief(legacy.processAffinity()), "0:6");
    EXPECT_EQ(brief(legacy.threadAffinity()), "0:5");
    EXPECT_EQ(kernel.thread, 5u); // read by setting it, and put back
}

TEST_F(WinAffinityBackends, LegacyFailsWithTheSystem) {
    kernel.threadMaskFailsAt = 1;
    EXPECT_EQ(brief(legacy.threadAffinity()), "none");
    EXPECT_EQ(kernel.threadMaskCalls, 1u);
    kernel.threadMaskFailsAt = 2;
    EXPECT_FALSE(legacy.setThreadAffinity(WinAffinity(1)));
    for (const BOOL failed : {-1, FALSE}) { // a negative answer of the setter is no success
        kernel.answer = failed;
        EXPECT_FALSE(legacy.setProcessAffinity(WinAffinity(1)));
    }
    EXPECT_EQ(brief(legacy.systemAffinity()), "none");
    EXPECT_EQ(brief(legacy.processAffinity()), "none");
    EXPECT_EQ(brief(legacy.threadAffinity()), "none");
}

// On the real system both backends tell of the same processors, and what one pins the other reads.
TEST(WinAffinityBackendsReal, AgreeWithEachOther) {
    WinGroupAffinityAPI groups(CpuGroupAPI::create().value());
    WinLegacyAffinityAPI legacy(CpuLegacyAPI::create().value());
    EXPECT_EQ(brief(WinAffinity(groups.systemAffinity().value())), brief(legacy.systemAffinity()));
    EXPECT_EQ(brief(groups.processAffinity()), brief(groups.systemAffinity()));
    const WinAffinity before(groups.threadAffinity().value());
    for (const WinAffinity& processor : before.split(WinAffinity::PerLogicalCpu)) {
        EXPECT_TRUE(groups.setThreadAffinity(processor));
        EXPECT_EQ(brief(legacy.threadAffinity()), brief(processor));
        EXPECT_TRUE(legacy.setThreadAffinity(before));
        EXPECT_EQ(brief(groups.threadAffinity()), brief(before));
    }
    const WinAffinity process(legacy.processAffinity().value());
    const WinAffinity first = process.split(WinAffinity::PerLogicalCpu).front();
    for (const WinAffinity& wanted : {first, process}) {
        EXPECT_TRUE(legacy.setProcessAffinity(wanted));
        EXPECT_EQ(brief(legacy.processAffinity()), brief(wanted));
    }
}

TEST(WinAffinityBackendsReal, TheNativeMachineHasProcessorGroups) {
    EXPECT_TRUE(WinAffinity().supportsCpuGroups());
    EXPECT_FALSE(ScopedAffinity(WinAffinity::threadAffinity().value(), false).set());
}

} // namespace
} // namespace libQuarrow::cpu
