#include <libQuarrow/cpu/x86/decode/x86_feature_detection.h>
#include <tests/support/LiteralReader.h>

#include <gtest/gtest.h>

#include <map>

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

// What each bit of a register alone means, from bit 0 up: a name, "-" for nothing, and the first letters of the makers
// that it is looked at for, where it is not for all.
std::string meanings(std::uint32_t leaf, std::uint32_t cpuid_args::*reg) {
    std::string text;
    for (std::uint32_t bit = 0; bit < 32; ++bit) {
        std::map<std::string, std::string> makers;
        for (const char* const vendor : {"GenuineIntel", "AuthenticAMD", "CentaurHauls"}) {
            cpuid_args answer;
            answer.*reg = 1U << bit;
            LiteralReader cpuid(vendor, 7, 0x8000001A, {{leaf, 0, answer}});
            const x86_feature_flags found = decodeSupportedFeatures(cpuid);
            for (std::uint32_t i = 1; i < x86_feature_count; ++i) { // 0 is there without a bit
                const auto feature = static_cast<x86_cpu_features>(i);
                if (found.hasFeature(feature)) {
                    makers[zel::String(x86_feature_flags::toString(feature)).toUtf8()] += vendor[0];
                }
            }
        }
        text += makers.empty() ? "-" : "";
        for (const auto& [name, who] : makers) {
            text += (text.empty() || text.back() == ' ' ? "" : ",") + (who == "GAC" ? name : who + ":" + name);
        }
        text += " ";
    }
    return text.substr(0, text.find_last_not_of("- ") + 1);
}

// Bits as in the makers' manuals: Intel's volume 2A, CPUID; AMD's volume 3, appendix E.
TEST(SupportedFeatures, ByTheBit) {
    std::map<std::pair<std::uint32_t, std::size_t>, std::string> expected = {
        {{0x1, 2},
         "GA:SSE3 GA:PCLMULQDQ - GA:MONITOR - G:VMX - G:EST - GA:SSSE3 - - GA:FMA "
         "GA:CMPXCHG16B - - - - - GA:SSE4.1 GA:SSE4.2 GA:x2APIC - GA:POPCNT - GA:AES GA:XSAVE "
         "GA:OSXSAVE GA:AVX GA:F16C"},
        {{0x1, 3},
         "FPU VME DE PSE TSC MSR PAE MCE CMPXCHG8B APIC - SEP MTRR PGE MCA CMOV PAT PSE36 "
         "G:PSN CLFLUSH - G:DS ACPI MMX FXSR SSE SSE2 G:SS GA:HTT G:TM - G:PBE"},
        {{0x6, 0}, "- G:IDA"},
        {{0x7, 1},
         "G:FSGSBASE - - GA:BMI G:HLE GA:AVX2 - G:SMEP G:BMI2 G:ERMS G:INVPCID G:RTM - - - - "
         "G:AVX512F - G:RDSEED G:ADX G:SMAP - - - - - G:AVX512PF G:AVX512ER G:AVX512CD"},
        {{0x80000001, 2},
         "GA:LAHF/SAHF A:CMPLEGACY A:SVM A:EXT_APIC A:ALTMOVCR8 A:ABM A:SSE4A A:MISALIGN_SSE "
         "A:PREFETCH A:OSVW - A:XOP A:SKINIT A:WDT - A:LWP A:FMA4 A:TCE - - - A:TBM A:TOPEX "
         "A:PERFCORE A:PERFNB"},
        {{0x80000001, 3},
         "- - - - - - - - - - - GA:SYSCALL A:MTRR A:PGE A:MCA A:CMOV A:PAT A:PSE36 - - "
         "A:NX,G:XD - A:MMX(+) - - A:FFXSR A:PAGE1GB A:RDTSCP - G:EM64T,A:x86-64 A:3DNow!(+) "
         "A:3DNow!"},
        {{0x80000007, 3},
         "A:TS A:FID A:VID A:TTP A:TM A:STC A:100MHZ_STEPS A:HW_PSTATE A:TSC_INVARIANT A:CPB "
         "A:EFFFREQRO"},
        {{0x8000000A, 3},
         "A:NP A:LBRVIRT A:SVML A:NRIP A:TSCRATEMSR A:VMCBCLEAN A:FLUSHBYASID A:DECODEASSISTS "
         "- - A:PAUSEFLTR - A:PAUSEFLTRTHRS"},
        {{0x8000001A, 0}, "A:FP128 A:"},
    };
    for (const std::uint32_t leaf : {1u, 6u, 7u, 0x80000001u, 0x80000007u, 0x8000000Au, 0x8000001Au}) {
        std::uint32_t cpuid_args::*const registers[] = {&cpuid_args::eax, &cpuid_args::ebx, &cpuid_args::ecx,
                                                        &cpuid_args::edx};
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(meanings(leaf, registers[i]), (expected[{leaf, i}])) << std::hex << leaf << " register " << i;
        }
    }
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
