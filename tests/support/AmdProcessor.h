#pragma once

#include <tests/support/CurrentMachine.h>

namespace testing_support {

constexpr std::uint32_t phenom = 0x100F42; // family 10h, RB-C2

// An AMD processor: one core, MSR and TSC, extended leaves up to 0x80000008, no caches.
struct AmdProcessor : BuiltProcessor<AmdProcessor> {
    explicit AmdProcessor(std::uint32_t signature) {
        leaf(0, {1, 0x68747541, 0x444D4163, 0x69746E65});
        leaf(1, {signature, 0, 0, 1u << 4 | 1u << 5});
        maxExtendedLeaf(0x80000008);
        leaf(0x80000002, {0x6C706D41, 0x65, 0, 0}); // "Ample"
    }
    AmdProcessor& maxExtendedLeaf(std::uint32_t number) { return leaf(0x80000000, {number, 0, 0, 0}); }
    AmdProcessor& packageField(std::uint32_t field) { return leaf(0x80000001, {0, field << 28, 0, 0}); }
    // With no cores: what a processor says whose threads are all cores, but which has none.
    AmdProcessor& counts(std::uint32_t cores, std::uint32_t threads) {
        recorded.leaves[{1, 0}].ebx |= threads << 16;
        recorded.leaves[{1, 0}].edx |= 1u << 28;
        leaf(0x80000001, {0, 0, cores == 0 ? 2u : 0u, 0});
        return leaf(0x80000008, {0, 0, cores - 1, 0});
    }
    // Leaves 0x80000005 and 0x80000006 of a Phenom II: 64 KB L1 data and instruction, 512 KB L2, 6 MB L3.
    AmdProcessor& caches() {
        leaf(0x80000005, {0, 0, 0x40020140, 0x40020140});
        return leaf(0x80000006, {0, 0, 0x02008140, 0x0030B140});
    }
};

} // namespace testing_support
