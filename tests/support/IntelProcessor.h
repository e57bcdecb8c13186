#pragma once

#include <libQuarrow/cpu/x86/x86_intel_info.h>
#include <tests/support/CurrentMachine.h>

#include <cstring>
#include <string>

namespace testing_support {

// An Intel processor: no hyper-threading, MSR and TSC, leaves up to 6, no caches.
struct IntelProcessor : BuiltProcessor<IntelProcessor> {
    explicit IntelProcessor(std::uint32_t signature, const std::string& brand = "") {
        maxLeaf(6);
        leaf(1, {signature, 0, 0, 1u << 4 | 1u << 5});
        leaf(0x80000000, {0x80000004, 0, 0, 0});
        std::uint32_t words[12] = {};
        std::memcpy(words, brand.data(), brand.size() < 48 ? brand.size() : 48);
        for (std::uint32_t i = 0; i < 3; ++i) {
            leaf(0x80000002 + i, {words[4 * i], words[4 * i + 1], words[4 * i + 2], words[4 * i + 3]});
        }
    }
    IntelProcessor& maxLeaf(std::uint32_t number) { return leaf(0, {number, 0x756E6547, 0x6C65746E, 0x49656E69}); }
    // By leaf 1 and sub-leaf 0 of leaf 4, whose other fields stay as they are.
    IntelProcessor& counts(std::uint32_t cores, std::uint32_t threads) {
        recorded.leaves[{1, 0}].ebx |= threads << 16;
        recorded.leaves[{1, 0}].edx |= 1u << 28;
        recorded.leaves[{4, 0}].eax |= (cores - 1) << 26;
        return *this;
    }
};

struct IntelMachine : OneProcessor {
    explicit IntelMachine(const IntelProcessor& processor) : OneProcessor(processor), info(cpu) {}

    libQuarrow::cpu::x86_intel_info info;
};

} // namespace testing_support
