#include <libQuarrow/cpu/x86/x86_cpu.h>
#include <libQuarrow/cpu/x86/x86_pin.h>
#include <tests/support/AmdProcessor.h>
#include <tests/support/CountingMachine.h>

#include <gtest/gtest.h>

#include <thread>

using namespace libQuarrow;
using namespace libQuarrow::cpu;
using namespace testing_support;

namespace {

// Two processors that leaf 1 tells apart.
class Pin : public testing::Test {
  protected:
    static os::Recording machineOf(const std::vector<AmdProcessor>& processors) {
        return CurrentMachine::recording(processors);
    }
    static x86_cpu cpuAt(std::uint64_t mask) { return x86_cpu(AffinityMask(WinAffinity(mask)), true, 0, 0); }
    static std::uint32_t signatureOn(const x86_cpu& cpu) {
        unsigned int eax = 0;
        return cpu.callCPUID(1, &eax, nullptr, nullptr, nullptr) ? eax : 0;
    }
    unsigned int sets() const { return machine.counts.affinitySets; }

    os::RecordedMachine recorded{machineOf({AmdProcessor(0x100F42), AmdProcessor(0x100F43)})};
    CountingMachine machine{recorded};
    os::ScopedMachine scope{machine};
    x86_cpu first = cpuAt(1);
    x86_cpu second = cpuAt(2);
};

TEST_F(Pin, HeldAroundManyInstructions) {
    machine.counts = {};
    {
        const x86_pin pin(second);
        ASSERT_TRUE(pin.pinned());
        EXPECT_EQ(sets(), 1u);
        for (int i = 0; i < 5; ++i) {
            const x86_pin inner(second);
            EXPECT_EQ(signatureOn(second), 0x100F43u);
        }
        EXPECT_EQ(sets(), 1u);
    }
    EXPECT_EQ(sets(), 2u);
    EXPECT_EQ(signatureOn(second), 0x100F43u);
    EXPECT_EQ(sets(), 4u) << "without one each instruction pins";
}

TEST_F(Pin, AnotherProcessorNests) {
    const x86_pin pin(second);
    machine.counts = {};
    EXPECT_EQ(signatureOn(first), 0x100F42u);
    EXPECT_EQ(sets(), 2u);
    EXPECT_EQ(signatureOn(second), 0x100F43u);
    EXPECT_EQ(sets(), 2u) << "back under the pin outside";
}

TEST_F(Pin, NotOfAnotherMachineOrThread) {
    const x86_pin pin(second);
    std::thread([this] { EXPECT_EQ(signatureOn(second), 0x100F43u); }).join();
    os::RecordedMachine other(machineOf({AmdProcessor(0xF00), AmdProcessor(0xF01)}));
    const os::ScopedMachine otherScope(other);
    EXPECT_EQ(signatureOn(cpuAt(2)), 0xF01u);
}

TEST_F(Pin, OfTheProcessIsNoneOfTheThread) {
    const x86_cpu whole(AffinityMask(WinAffinity(2)), false, 0, 0);
    const x86_pin pin(second);
    machine.counts = {};
    EXPECT_EQ(signatureOn(whole), 0x100F43u);
    EXPECT_EQ(sets(), 2u);
}

TEST_F(Pin, FailedIsNotHeld) {
    recorded.faults().unpinnable = {1};
    const x86_pin pin(second);
    EXPECT_FALSE(pin.pinned());
    EXPECT_EQ(signatureOn(second), 0u);
    recorded.faults() = {};
    EXPECT_EQ(signatureOn(second), 0x100F43u) << "each instruction tries for itself";
}

// A pin inside that cannot put the thread back leaves it on the wrong processor: the pin outside no longer holds.
TEST_F(Pin, LostWhenAnInnerOneCannotPutBack) {
    const x86_pin pin(second);
    {
        const x86_pin inner(first);
        ASSERT_TRUE(inner.pinned());
        recorded.faults().unpinnable = {1};
    }
    recorded.faults() = {};
    EXPECT_FALSE(pin.pinned());
    EXPECT_EQ(signatureOn(second), 0x100F43u);
}

} // namespace
