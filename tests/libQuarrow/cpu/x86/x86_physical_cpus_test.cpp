#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <libQuarrow/cpu/x86/x86_speed_metrics.h>
#include <libQuarrow/cpu/x86/x86_vendor_info.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/CacheTexts.h>
#include <tests/support/IntelProcessor.h>
#include <tests/support/LogCapture.h>
#include <zel/Assertion.h>

#include <gtest/gtest.h>

#include <numeric>
#include <type_traits>

using namespace libQuarrow::cpu;
using namespace testing_support;

namespace {

static_assert(std::is_nothrow_move_constructible_v<x86_physical_cpu>, "lists of packages must not clone accessors");
static_assert(std::is_nothrow_move_constructible_v<x86_cpu_core>);

// A processor for each APIC ID, in packages of so many cores and threads.
std::vector<AmdProcessor> processors(std::uint32_t signature, std::uint32_t cores, std::uint32_t threads,
                                     const std::vector<std::uint32_t>& apicIds) {
    std::vector<AmdProcessor> list;
    for (const std::uint32_t id : apicIds) {
        list.push_back(AmdProcessor(signature).caches().counts(cores, threads));
        list.back().recorded.leaves[{1, 0}].ebx |= id << 24;
    }
    return list;
}

// Of an unknown maker, and so without an APIC ID.
AmdProcessor stranger() {
    return AmdProcessor(phenom).leaf(0, {1, 0x20202020, 0x20202020, 0x20202020});
}

TEST(x86_physical_cpus, are_in_location_order) {
    const LogCapture log;
    const CurrentMachine machine(processors(phenom, 2, 4, {5, 4, 7, 0}));
    x86_physical_cpus tree(true);
    EXPECT_EQ(tree.toString(), "PHYSICAL_CPU[0]  : CPU:0:0:0:*:* - Ample\n"
                               "   CORE[0]       : CPU:0:0:0:0:*\n"
                               "     THREAD[0]   : CPU:0:0:0:0:0 - APICID:00000000h, Logical CPU#:3\n"
                               "PHYSICAL_CPU[1]  : CPU:0:0:1:*:* - Ample\n"
                               "   CORE[0]       : CPU:0:0:1:0:*\n"
                               "     THREAD[0]   : CPU:0:0:1:0:0 - APICID:00000004h, Logical CPU#:1\n"
                               "     THREAD[1]   : CPU:0:0:1:0:1 - APICID:00000005h, Logical CPU#:0\n"
                               "   CORE[1]       : CPU:0:0:1:1:*\n"
                               "     THREAD[0]   : CPU:0:0:1:1:1 - APICID:00000007h, Logical CPU#:2\n");
    EXPECT_EQ(log.messages().back(), "1 libQuarrow.cpu_x86.x86_physicals_cpus: \n" + tree.toString().toUtf8());
    x86_physical_cpu& package = tree[1];
    EXPECT_EQ(package.getCpuNumber(), 1u);
    EXPECT_EQ(package.getCore(1).getCoreNumber(), 1u);
    EXPECT_EQ(&package.get(), &tree.getThread(1));
    EXPECT_EQ(&package.getThread(2), &package.getCore(1).getThread(0));
    EXPECT_EQ(package.getAffinityMask(), AffinityMask(WinAffinity(7)));
    EXPECT_EQ(package.getCore(0).getAffinityMask(), AffinityMask(WinAffinity(3)));
    EXPECT_THROW(tree[2], zel::AssertionError);
    EXPECT_THROW(tree.getThread(4), zel::AssertionError);
    EXPECT_THROW(package.getCore(2), zel::AssertionError);
    EXPECT_THROW(package.getThread(3), zel::AssertionError);
    EXPECT_THROW(package.getCore(0).getThread(2), zel::AssertionError);
    const x86_physical_cpu moved = std::move(package);
    EXPECT_THROW(package.get(), zel::AssertionError);
    EXPECT_EQ(package.getAffinityMask(), AffinityMask());
    // Cut to 17 characters, so that the colons stay below each other.
    const CurrentMachine many(processors(phenom, 16, 16, {10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0}));
    EXPECT_NE(x86_physical_cpus(true).toString().find("   CORE[10]      : CPU:0:0:0:10:*\n"), zel::String::npos);
}

TEST(x86_physical_cpus, know_nothing_of_processors_of_an_unknown_maker) {
    CurrentMachine machine(std::vector<AmdProcessor>{stranger(), stranger()});
    const x86_physical_cpus tree(true);
    ASSERT_EQ(tree.size(), 2u); // without topology each is a package of its own
    EXPECT_NE(tree.toString().find(" - APICID: None, Logical CPU#:1\n"), zel::String::npos);
    const x86_vendor_info& info = *tree.getThread(0).vendorInfo();
    x86_caches caches;
    x86_speed_metrics metrics;
    zel::String text = "untouched";
    EXPECT_FALSE(info.getCaches(caches) || info.getSpeedMetrics(metrics) || info.getRevisionString(text) ||
                 info.getTechnologyString(text) || info.getSocketTypeString(text));
    EXPECT_EQ(text, "untouched");
    machine.faults().systemAffinityUnreadable = true;
    EXPECT_EQ(x86_physical_cpus(true).toString(), "");
}

// Two cores that share an L2, as leaf 4 tells them, with topology IDs.
std::vector<IntelProcessor> coresWithSharedL2() {
    std::vector<IntelProcessor> list(2, IntelProcessor(0x6F6));
    for (std::uint32_t id = 0; id < 2; ++id) {
        list[id].leaf(4, {0x00000121, 0x01C0003F, 0x3F, 0}, 0).leaf(4, {0x00004143, 0x03C0003F, 0xFFF, 0}, 1);
        list[id].counts(2, 2).recorded.leaves[{1, 0}].ebx |= id << 24;
    }
    return list;
}

TEST(x86_physical_cpus, caches_of_a_package) {
    const auto amd = [](std::uint32_t signature, std::uint32_t cores, std::uint32_t threads, std::uint32_t present) {
        std::vector<std::uint32_t> apicIds(present);
        std::iota(apicIds.begin(), apicIds.end(), 0);
        return CurrentMachine::recording(processors(signature, cores, threads, apicIds));
    };
    const struct {
        const char* what;
        libQuarrow::os::Recording machine;
        bool known;
        const char* expected; // instances, and threads sharing: 1 on purpose
    } cases[] = {
        {"4 cores of 2 threads", amd(phenom, 4, 8, 8), true, "4x1 4x1 4x1 1x1"},
        {"more share it than are there", amd(phenom, 4, 8, 1), true, "1x1 1x1 1x1 1x8"},
        {"nobody knows who shares L2", amd(0x600F12, 4, 8, 8), false, "7x0"},
        {"no cores", amd(phenom, 0, 0, 1), true, ""},
        {"unknown maker", CurrentMachine::recording(std::vector<AmdProcessor>{stranger()}), true, ""},
        {"topology IDs", CurrentMachine::recording(coresWithSharedL2()), true, "2x1 1x1"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        libQuarrow::os::RecordedMachine machine(test.machine);
        const libQuarrow::os::ScopedMachine scope(machine);
        x86_cache before;
        before.setInstanceCount(7);
        x86_caches caches(zel::Array<x86_cache>{before});
        EXPECT_EQ(x86_physical_cpus(true)[0].getCaches(caches), test.known);
        EXPECT_EQ(countsOf(caches), test.expected);
    }
}

struct CountedAccessor : ICpuTemperatureAccessor {
    explicit CountedAccessor(int& count) : alive(count) { ++alive; }
    ~CountedAccessor() override { --alive; }
    ICpuTemperatureAccessor* clone() const override { return new CountedAccessor(alive); }
    bool getCurrentTemperature(zel::Temperature&) const override { return false; }

    int& alive;
};

// The same for packages and cores, which are given as `node`.
template <class Node>
void ownsItsAccessor(Node& node) {
    int alive = 0;
    node.setTemperatureAccessor(new CountedAccessor(alive));
    auto* const accessor = new CountedAccessor(alive);
    node.setTemperatureAccessor(accessor);
    node.setTemperatureAccessor(accessor);
    EXPECT_EQ(alive, 1); // the one before is gone
    EXPECT_EQ(node.getTemperatureAccessor(), accessor);
    {
        Node copy(node);
        EXPECT_EQ(&copy.get(), &node.get()); // the threads are shared
        EXPECT_NE(copy.getTemperatureAccessor(), accessor);
        copy = node;
        Node moved(std::move(copy));
        EXPECT_EQ(copy.getTemperatureAccessor(), nullptr);
        copy = std::move(moved);
        EXPECT_EQ(moved.getTemperatureAccessor(), nullptr);
        EXPECT_NE(copy.getTemperatureAccessor(), nullptr);
        EXPECT_EQ(alive, 2);
    }
    node.setTemperatureAccessor(nullptr);
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(Node(node).getTemperatureAccessor(), nullptr);
}

TEST(x86_physical_cpus, packages_and_cores_own_their_accessors) {
    const CurrentMachine machine(processors(phenom, 2, 2, {0, 1}));
    x86_physical_cpus tree(true);
    ownsItsAccessor(tree[0]);
    ownsItsAccessor(tree[0].getCore(1));
    int alive = 0;
    tree[0].setTemperatureAccessor(new CountedAccessor(alive));
    tree[0].getCore(0).setTemperatureAccessor(new CountedAccessor(alive));
    const x86_physical_cpus copy(tree);
    EXPECT_EQ(alive, 4);
    tree = x86_physical_cpus(true);
    EXPECT_EQ(alive, 2);
    EXPECT_EQ(copy.getThread(1).getLocation(), tree.getThread(1).getLocation()); // outlives the tree it is from
}

} // namespace
