#include <libQuarrow/machine/Machine.h>

#include <tests/support/AffinityTexts.h>

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace libQuarrow::os {
namespace {

cpu::cpuid_args cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
    cpu::cpuid_args registers{leaf, 0xDEADBEEF, subleaf, 0xDEADBEEF}; // which must not show through
    nativeMachine().instructions().cpuid(registers);
    return registers;
}

TEST(NativeInstructions, ExecuteOnTheProcessor) {
    const cpu::cpuid_args zero = cpuid(0, 0);
    ASSERT_GE(zero.eax, 1u);
    for (const std::uint32_t part : {zero.ebx, zero.edx, zero.ecx}) { // of the vendor string: bytes from 0x20 to 0x7F
        EXPECT_EQ((part | (part - 0x20202020)) & 0x80808080, 0u);
    }
    for (const std::uint32_t level : {0u, 1u, 0xFFu}) { // leaf 0xB gives the sub-leaf back in CL
        EXPECT_TRUE(zero.eax < 0xB || (cpuid(0xB, level).ecx & 0xFF) == level);
    }
    Instructions& instructions = nativeMachine().instructions();
    EXPECT_TRUE(instructions.cpuidBitToggles());
    EXPECT_TRUE(instructions.cpuidBitToggles()); // from the other state of the bit
    const std::uint64_t first = instructions.rdtsc();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_GT(instructions.rdtsc(), first);
    if ((cpuid(1, 0).ecx >> 27 & 1) != 0) {        // OSXSAVE
        EXPECT_EQ(instructions.xgetbv(0) & 3, 3u); // x87 and SSE state, which 64-bit systems always enable
    }
}

TEST(NativeClock, PutsThePriorityClassBack) {
    Clock& clock = nativeMachine().clock();
    std::uint32_t original = 0, ordinary = 0, now = 0;
    ASSERT_TRUE(clock.priorityClass(original));
    EXPECT_FALSE(clock.setPriorityClass(0x7)); // no class
    // The test itself may run in a real-time class: from the ordinary one of Windows, or of Linux.
    ASSERT_TRUE(clock.setPriorityClass(0x20) || clock.setPriorityClass(0x10000));
    ASSERT_TRUE(clock.priorityClass(ordinary));
    const bool allowed = clock.setPriorityClass(Clock::realTimePriorityClass);
    EXPECT_TRUE(clock.priorityClass(now) && (now != ordinary) == allowed);
    EXPECT_TRUE(clock.setPriorityClass(ordinary) && clock.priorityClass(now));
    EXPECT_EQ(now, ordinary);
    clock.setPriorityClass(original);
    if (!allowed) {
        GTEST_SKIP() << "raising the priority is not allowed here";
    }
}

TEST(NativeAffinity, PinsToEachProcessorAndPutsTheSameBack) {
    const cpu::AffinityMask before = cpu::AffinityMask::threadAffinityMask().value();
    const cpu::AffinityMask system = cpu::AffinityMask::systemAffinityMask().value();
    EXPECT_EQ(brief(system | before), brief(system));
    unsigned int pinned = 0;
    const auto visit = [&](const cpu::AffinityMask& mask) {
        pinned += brief(cpu::AffinityMask::threadAffinityMask()) == brief(mask) ? 1 : 0;
    };
    before.forEachLogicalCPU(visit, true);
    EXPECT_EQ(pinned, before.getAffinityData().logicalCpuCount());
    EXPECT_FALSE(cpu::AffinityMask().setThreadAffinity());
    EXPECT_FALSE(cpu::AffinityMask(cpu::WinAffinity({{60000, 1}})).setThreadAffinity());
    EXPECT_EQ(brief(cpu::AffinityMask::threadAffinityMask()), brief(before));
}

} // namespace
} // namespace libQuarrow::os
