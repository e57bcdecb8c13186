#include <libQuarrow/cpu/x86/x86_pin.h>
#include <tests/support/AmdProcessor.h>

#include <gtest/gtest.h>

#include <thread>

using namespace libQuarrow;
using namespace libQuarrow::cpu;
using namespace testing_support;

namespace {

// Two processors that leaf 1 tells apart.
class Pin : public testing::Test {
  protected:
    static std::uint32_t signatureOn(const x86_cpu& cpu) {
        unsigned int eax = 0;
        return cpu.callCPUID(1, &eax, nullptr, nullptr, nullptr) ? eax : 0;
    }
    // How often the affinity is set meanwhile.
    template <class Work>
    std::size_t sets(Work work) {
        const std::size_t before = machine.counts().affinitySets.size();
        work();
        return machine.counts().affinitySets.size() - before;
    }

    CurrentMachine machine{{AmdProcessor(0x100F42), AmdProcessor(0x100F43)}};
    x86_cpu first{maskOf(0), true, 0, 0};
    x86_cpu second{maskOf(1), true, 0, 0};
};

TEST_F(Pin, HeldAroundManyInstructions) {
    const auto five = [this] {
        for (int i = 0; i < 5; ++i) {
            const x86_pin inner(second);
            EXPECT_EQ(signatureOn(second), 0x100F43u);
        }
    };
    EXPECT_EQ(sets(five), 10u);
    EXPECT_EQ(sets([&] {
                  const x86_pin pin(second);
                  five();
              }),
              2u);
}

TEST_F(Pin, AnotherProcessorOrScopeNests) {
    const x86_cpu whole(maskOf(1), false, 0, 0);
    const x86_pin pin(second);
    EXPECT_EQ(sets([this] { EXPECT_EQ(signatureOn(first), 0x100F42u); }), 2u);
    EXPECT_EQ(sets([&] { EXPECT_EQ(signatureOn(whole), 0x100F43u); }), 2u) << "the process is not the thread";
    EXPECT_EQ(sets([this] { EXPECT_EQ(signatureOn(second), 0x100F43u); }), 0u) << "back under the pin outside";
}

TEST_F(Pin, NotOfAnotherMachineOrThread) {
    const x86_pin pin(second);
    std::thread([this] { EXPECT_EQ(signatureOn(second), 0x100F43u); }).join();
    const CurrentMachine other({AmdProcessor(0xF00), AmdProcessor(0xF01)});
    EXPECT_EQ(signatureOn(x86_cpu(maskOf(1), true, 0, 0)), 0xF01u);
}

TEST_F(Pin, FailedIsNotHeld) {
    machine.faults().unpinnable = {1};
    const x86_pin pin(second);
    EXPECT_FALSE(pin.pinned());
    EXPECT_EQ(signatureOn(second), 0u);
    machine.faults() = {};
    EXPECT_EQ(signatureOn(second), 0x100F43u) << "each instruction tries for itself";
}

// A pin inside that cannot put the thread back leaves it on the wrong processor: the pin outside no longer holds.
TEST_F(Pin, LostWhenAnInnerOneCannotPutBack) {
    const x86_pin pin(second);
    {
        const x86_pin inner(first);
        ASSERT_TRUE(inner.pinned());
        machine.faults().unpinnable = {1};
    }
    machine.faults() = {};
    EXPECT_FALSE(pin.pinned());
    EXPECT_EQ(signatureOn(second), 0x100F43u);
}

} // namespace
