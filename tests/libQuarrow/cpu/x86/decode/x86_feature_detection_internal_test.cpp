#include <libQuarrow/cpu/x86/decode/x86_feature_detection.h>
#include <tests/support/LiteralReader.h>

#include <gtest/gtest.h>

using namespace libQuarrow::cpu;

namespace {

// Every bit of every leaf that is looked at, up to the given maxima.
LiteralReader fullProcessor(const char* vendor, std::uint32_t maximum, std::uint32_t extendedMaximum) {
    constexpr cpuid_args ones = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
    LiteralReader cpuid(vendor, maximum, extendedMaximum, {});
    for (const std::uint32_t leaf : {1u, 6u, 7u, 0x80000001u, 0x80000007u, 0x8000000Au, 0x8000001Au}) {
        cpuid.set({leaf, 0, ones});
    }
    return cpuid;
}

unsigned int count(const x86_feature_flags& features) {
    unsigned int number = 0;
    for (std::uint32_t i = 0; i < 256; ++i) {
        number += features.hasFeature(static_cast<x86_cpu_features>(i)) ? 1U : 0U;
    }
    return number;
}

// How many features are found and how many CPUIDs that takes: a leaf above the maximum answers all ones and must not
// count.
TEST(SupportedFeatures, GuardedByMaximaAndVendor) {
    const struct {
        const char* vendor;
        std::uint32_t maximum, extendedMaximum;
        unsigned int features, executions;
    } cases[] = {
        {"GenuineIntel", 0, 0, 1, 5}, // CPUID itself
        {"GenuineIntel", 1, 0, 47, 6},
        {"GenuineIntel", 6, 0, 48, 7},
        {"GenuineIntel", 7, 0, 64, 8},
        {"GenuineIntel", 7, 0x80000001, 68, 9},
        {"GenuineIntel", 7, 0x8000001A, 68, 9},
        {"AuthenticAMD", 1, 0, 40, 8},
        {"AuthenticAMD", 6, 0, 40, 8},
        {"AuthenticAMD", 7, 0, 42, 9},
        {"AuthenticAMD", 7, 0x80000001, 77, 10},
        {"AuthenticAMD", 7, 0x80000007, 88, 11},
        {"AuthenticAMD", 7, 0x8000000A, 98, 12},
        {"AuthenticAMD", 7, 0x8000001A, 100, 13},
        {"CentaurHauls", 7, 0x8000001A, 24, 7},
    };
    for (const auto& c : cases) {
        LiteralReader cpuid = fullProcessor(c.vendor, c.maximum, c.extendedMaximum);
        EXPECT_EQ(count(decodeSupportedFeatures(cpuid)), c.features)
            << c.vendor << std::hex << " " << c.maximum << " " << c.extendedMaximum;
        EXPECT_EQ(cpuid.executions, c.executions) << c.vendor << c.maximum; // every bound is asked for anew
    }
    LiteralReader without = fullProcessor("GenuineIntel", 7, 0x80000001);
    without.cpuidThere = false;
    EXPECT_EQ(count(decodeSupportedFeatures(without)) + without.executions, 0u) << "no such instruction";
}

TEST(AllowedFeatures, WhatTheOperatingSystemEnabled) {
    constexpr std::uint32_t osxsave = 1 << 27, avx = 1 << 28, avx2 = 1 << 5;
    const struct {
        std::uint32_t maximum, leaf1, leaf7;
        std::uint64_t enabledState;
        const char* text;
    } cases[] = {
        {7, osxsave | avx, avx2, 7, "CPUID, AVX, MSR, TSC, AVX2"},
        {1, osxsave | avx, 0, 7, "CPUID, AVX, MSR, TSC, AVX2"}, // leaf 7 is read whatever the highest one, on purpose
        {7, osxsave | avx, 0, 6, "CPUID, AVX, MSR, TSC"},
        {7, osxsave | avx, avx2, 2, "CPUID, MSR, TSC"},
        {7, osxsave | avx, avx2, 4, "CPUID, MSR, TSC"},
        {7, avx, avx2, 7, "CPUID, MSR, TSC"},
        {7, osxsave, avx2, 7, "CPUID, MSR, TSC"},
    };
    for (const auto& c : cases) {
        LiteralReader cpuid("GenuineIntel", c.maximum, 0,
                            {{1, 0, {0, 0, c.leaf1, 1 << 4 | 1 << 5 | 1 << 25}}, {7, 0, {0, c.leaf7, 0, 0}}});
        cpuid.enabledState = c.enabledState;
        EXPECT_EQ(decodeAllowedFeatures(cpuid).toString(), c.text);
    }
    LiteralReader bare("GenuineIntel", 1, 0, {});
    EXPECT_EQ(decodeAllowedFeatures(bare).toString(), "CPUID");
}

} // namespace
