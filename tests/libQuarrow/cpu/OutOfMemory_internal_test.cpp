#include <libQuarrow/cpu/ScopedAffinity.h>
#include <tests/support/AffinityTexts.h>
#include <tests/support/AmdProcessor.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>

// The memory of this thread ends after so many more allocations; negative: never.
namespace {

thread_local int allocationsLeft = -1;

void* allocateIfThereIs(std::size_t size) noexcept {
    void* const memory = allocationsLeft != 0 ? std::malloc(size != 0 ? size : 1) : nullptr;
    allocationsLeft -= memory != nullptr && allocationsLeft > 0 ? 1 : 0;
    return memory;
}

void* allocate(std::size_t size) {
    void* const memory = allocateIfThereIs(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocateIfThereIs(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocateIfThereIs(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace libQuarrow::cpu {
namespace {

// Does `work` with no memory from the first allocation on, then from the second on, until it gets through, and `check`
// after each.
void withEverLessMissing(const std::function<void()>& work, const std::function<void()>& check) {
    for (int enough = 0, done = 0; done == 0; ++enough) {
        try {
            allocationsLeft = enough;
            work();
            done = 1;
        } catch (const std::bad_alloc&) {
        }
        allocationsLeft = -1;
        check();
        ASSERT_LT(enough, 10000);
    }
}

TEST(OutOfMemory, NobodyIsLeftElsewhere) {
    testing_support::CurrentMachine recorded(std::vector(2, testing_support::AmdProcessor(0x100F42)));
    for (os::Machine* const machine : {&os::nativeMachine(), static_cast<os::Machine*>(&recorded.machine)}) {
        const os::ScopedMachine scope(*machine);
        for (const bool thread : {true, false}) {
            const std::string before = brief(AffinityMask::threadAffinityMask());
            const AffinityMask processor = AffinityMask::threadAffinityMask()->maskPerLogicalCPU().back();
            const auto pinAndPutBack = [&] {
                ScopedAffinity pin(processor, thread);
                if (pin.set()) {
                    allocationsLeft = 0; // putting back takes none
                }
            };
            const auto check = [&] { EXPECT_EQ(brief(AffinityMask::threadAffinityMask()), before) << thread; };
            withEverLessMissing(pinAndPutBack, check);
        }
    }
}

TEST(OutOfMemory, JoiningIsDoneOrNot) {
    WinAffinity joined;
    const auto join = [&] { joined = WinAffinity(1), joined |= WinAffinity({{0, 2}, {1, 1}}); };
    const auto check = [&] {
        const std::string text = brief(joined);
        EXPECT_TRUE(text.empty() || text == "0:1" || text == "0:3 1:1") << text;
    };
    withEverLessMissing(join, check);
    EXPECT_EQ(brief(joined), "0:3 1:1");
}

} // namespace
} // namespace libQuarrow::cpu
