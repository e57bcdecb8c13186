#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>
#include <libQuarrow/cpu/x86/x86_feature_flags.h>
#include <libQuarrow/machine/cpuid_args.h>

#include <cstdint>

// Private to the library: every feature with its name and the CPUID bit that reports it.
//
//   feature   the enumerator; row n is feature n
//   name      how the text of a set calls it; null: the text leaves it out
//   leaf      CPUID leaf, always of sub-leaf 0
//   register  where in the answer
//   bit       bit number, 0 to 31
//   vendors   on whose processors the bit is looked at; nobody: not from a CPUID bit, or never set
//
// Bits as in "Intel 64 and IA-32 Architectures Software Developer's Manual", volume 2A, CPUID, and in "AMD64
// Architecture Programmer's Manual", volume 3, appendix E.
//
// Irregular rows. The numbers and texts of features are part of the interface, so these stay as they are:
//   0          comes from EFLAGS, not from CPUID.
//   74-79, 107 AMD's copies in extended leaves of the features 25, 24, 23, 22, 21, 5 and 55. They are values of
//              their own under the same names, and a set may print a name twice.
//   101, 102   are names only.
//   124        has no name, so that no text shows it.

namespace libQuarrow::cpu {

namespace feature_rows {

// Sets of makers.
enum Vendors : std::uint32_t {
    nobody = 0,
    intel = 1,
    amd = 2,
    others = 4,
    intelAmd = intel | amd,
    anyVendor = intel | amd | others,
};

struct Row {
    x86_cpu_features feature;
    const char* name;
    std::uint32_t leaf;
    std::uint32_t cpuid_args::*reg;
    std::uint32_t bit;
    Vendors vendors;
};

constexpr auto eax = &cpuid_args::eax;
constexpr auto ebx = &cpuid_args::ebx;
constexpr auto ecx = &cpuid_args::ecx;
constexpr auto edx = &cpuid_args::edx;

// clang-format off
constexpr Row all[] = {
    {x86_feature_CPUID,         "CPUID",         0x00000000, eax,  0, nobody},
    {x86_feature_MMX,           "MMX",           0x00000001, edx, 23, anyVendor},
    {x86_feature_MMX_EXT,       "MMX(+)",        0x80000001, edx, 22, amd},
    {x86_feature_3DNOW,         "3DNow!",        0x80000001, edx, 31, amd},
    {x86_feature_3DNOW_EXT,     "3DNow!(+)",     0x80000001, edx, 30, amd},
    {x86_feature_PSE36,         "PSE36",         0x00000001, edx, 17, anyVendor},
    {x86_feature_EM64T,         "EM64T",         0x80000001, edx, 29, intel},
    {x86_feature_X86_64,        "x86-64",        0x80000001, edx, 29, amd},
    {x86_feature_SSE,           "SSE",           0x00000001, edx, 25, anyVendor},
    {x86_feature_SSE2,          "SSE2",          0x00000001, edx, 26, anyVendor},
    {x86_feature_SSE3,          "SSE3",          0x00000001, ecx,  0, intelAmd},
    {x86_feature_SSSE3,         "SSSE3",         0x00000001, ecx,  9, intelAmd},
    {x86_feature_SSE4_1,        "SSE4.1",        0x00000001, ecx, 19, intelAmd},
    {x86_feature_SSE4_2,        "SSE4.2",        0x00000001, ecx, 20, intelAmd},
    {x86_feature_SSE4A,         "SSE4A",         0x80000001, ecx,  6, amd},
    {x86_feature_AVX,           "AVX",           0x00000001, ecx, 28, intelAmd},
    {x86_feature_ABM,           "ABM",           0x80000001, ecx,  5, amd},
    {x86_feature_X2APIC,        "x2APIC",        0x00000001, ecx, 21, intelAmd},
    {x86_feature_FXSR,          "FXSR",          0x00000001, edx, 24, anyVendor},
    {x86_feature_ACPI,          "ACPI",          0x00000001, edx, 22, anyVendor},
    {x86_feature_CLFLUSH,       "CLFLUSH",       0x00000001, edx, 19, anyVendor},
    {x86_feature_PAT,           "PAT",           0x00000001, edx, 16, anyVendor},
    {x86_feature_CMOV,          "CMOV",          0x00000001, edx, 15, anyVendor},
    {x86_feature_MCA,           "MCA",           0x00000001, edx, 14, anyVendor},
    {x86_feature_PGE,           "PGE",           0x00000001, edx, 13, anyVendor},
    {x86_feature_MTRR,          "MTRR",          0x00000001, edx, 12, anyVendor},
    {x86_feature_SEP,           "SEP",           0x00000001, edx, 11, anyVendor},
    {x86_feature_APIC,          "APIC",          0x00000001, edx,  9, anyVendor},
    {x86_feature_CMPXCHG8B,     "CMPXCHG8B",     0x00000001, edx,  8, anyVendor},
    {x86_feature_MCE,           "MCE",           0x00000001, edx,  7, anyVendor},
    {x86_feature_PAE,           "PAE",           0x00000001, edx,  6, anyVendor},
    {x86_feature_MSR,           "MSR",           0x00000001, edx,  5, anyVendor},
    {x86_feature_TSC,           "TSC",           0x00000001, edx,  4, anyVendor},
    {x86_feature_PSE,           "PSE",           0x00000001, edx,  3, anyVendor},
    {x86_feature_DE,            "DE",            0x00000001, edx,  2, anyVendor},
    {x86_feature_VME,           "VME",           0x00000001, edx,  1, anyVendor},
    {x86_feature_FPU,           "FPU",           0x00000001, edx,  0, anyVendor},
    {x86_feature_AES,           "AES",           0x00000001, ecx, 25, intelAmd},
    {x86_feature_BMI,           "BMI",           0x00000007, ebx,  3, intelAmd},
    {x86_feature_HTT,           "HTT",           0x00000001, edx, 28, intelAmd},
    {x86_feature_PCLMULQDQ,     "PCLMULQDQ",     0x00000001, ecx,  1, intelAmd},
    {x86_feature_MONITOR,       "MONITOR",       0x00000001, ecx,  3, intelAmd},
    {x86_feature_FMA,           "FMA",           0x00000001, ecx, 12, intelAmd},
    {x86_feature_CMPXCHG16B,    "CMPXCHG16B",    0x00000001, ecx, 13, intelAmd},
    {x86_feature_POPCNT,        "POPCNT",        0x00000001, ecx, 23, intelAmd},
    {x86_feature_XSAVE,         "XSAVE",         0x00000001, ecx, 26, intelAmd},
    {x86_feature_OSXSAVE,       "OSXSAVE",       0x00000001, ecx, 27, intelAmd},
    {x86_feature_F16C,          "F16C",          0x00000001, ecx, 29, intelAmd},
    {x86_feature_LAHF_SAHF,     "LAHF/SAHF",     0x80000001, ecx,  0, intelAmd},
    {x86_feature_SYSCALL,       "SYSCALL",       0x80000001, edx, 11, intelAmd},
    {x86_feature_XD,            "XD",            0x80000001, edx, 20, intel},
    {x86_feature_EST,           "EST",           0x00000001, ecx,  7, intel},
    {x86_feature_PSN,           "PSN",           0x00000001, edx, 18, intel},
    {x86_feature_DS,            "DS",            0x00000001, edx, 21, intel},
    {x86_feature_SS,            "SS",            0x00000001, edx, 27, intel},
    {x86_feature_TM,            "TM",            0x00000001, edx, 29, intel},
    {x86_feature_PBE,           "PBE",           0x00000001, edx, 31, intel},
    {x86_feature_VMX,           "VMX",           0x00000001, ecx,  5, intel},
    {x86_feature_IDA,           "IDA",           0x00000006, eax,  1, intel},
    {x86_feature_FSGSBASE,      "FSGSBASE",      0x00000007, ebx,  0, intel},
    {x86_feature_HLE,           "HLE",           0x00000007, ebx,  4, intel},
    {x86_feature_AVX2,          "AVX2",          0x00000007, ebx,  5, intelAmd},
    {x86_feature_SMEP,          "SMEP",          0x00000007, ebx,  7, intel},
    {x86_feature_BMI2,          "BMI2",          0x00000007, ebx,  8, intel},
    {x86_feature_ERMS,          "ERMS",          0x00000007, ebx,  9, intel},
    {x86_feature_INVPCID,       "INVPCID",       0x00000007, ebx, 10, intel},
    {x86_feature_RTM,           "RTM",           0x00000007, ebx, 11, intel},
    {x86_feature_AVX512F,       "AVX512F",       0x00000007, ebx, 16, intel},
    {x86_feature_RDSEED,        "RDSEED",        0x00000007, ebx, 18, intel},
    {x86_feature_ADX,           "ADX",           0x00000007, ebx, 19, intel},
    {x86_feature_SMAP,          "SMAP",          0x00000007, ebx, 20, intel},
    {x86_feature_AVX512PF,      "AVX512PF",      0x00000007, ebx, 26, intel},
    {x86_feature_AVX512ER,      "AVX512ER",      0x00000007, ebx, 27, intel},
    {x86_feature_AVX512CD,      "AVX512CD",      0x00000007, ebx, 28, intel},
    {x86_feature_MTRR_AMD,      "MTRR",          0x80000001, edx, 12, amd},
    {x86_feature_PGE_AMD,       "PGE",           0x80000001, edx, 13, amd},
    {x86_feature_MCA_AMD,       "MCA",           0x80000001, edx, 14, amd},
    {x86_feature_CMOV_AMD,      "CMOV",          0x80000001, edx, 15, amd},
    {x86_feature_PAT_AMD,       "PAT",           0x80000001, edx, 16, amd},
    {x86_feature_PSE36_AMD,     "PSE36",         0x80000001, edx, 17, amd},
    {x86_feature_NX,            "NX",            0x80000001, edx, 20, amd},
    {x86_feature_FFXSR,         "FFXSR",         0x80000001, edx, 25, amd},
    {x86_feature_PAGE1GB,       "PAGE1GB",       0x80000001, edx, 26, amd},
    {x86_feature_RDTSCP,        "RDTSCP",        0x80000001, edx, 27, amd},
    {x86_feature_CMPLEGACY,     "CMPLEGACY",     0x80000001, ecx,  1, amd},
    {x86_feature_SVM,           "SVM",           0x80000001, ecx,  2, amd},
    {x86_feature_EXT_APIC,      "EXT_APIC",      0x80000001, ecx,  3, amd},
    {x86_feature_ALTMOVCR8,     "ALTMOVCR8",     0x80000001, ecx,  4, amd},
    {x86_feature_MISALIGN_SSE,  "MISALIGN_SSE",  0x80000001, ecx,  7, amd},
    {x86_feature_PREFETCH,      "PREFETCH",      0x80000001, ecx,  8, amd},
    {x86_feature_OSVW,          "OSVW",          0x80000001, ecx,  9, amd},
    {x86_feature_XOP,           "XOP",           0x80000001, ecx, 11, amd},
    {x86_feature_SKINIT,        "SKINIT",        0x80000001, ecx, 12, amd},
    {x86_feature_WDT,           "WDT",           0x80000001, ecx, 13, amd},
    {x86_feature_LWP,           "LWP",           0x80000001, ecx, 15, amd},
    {x86_feature_FMA4,          "FMA4",          0x80000001, ecx, 16, amd},
    {x86_feature_TCE,           "TCE",           0x80000001, ecx, 17, amd},
    {x86_feature_TBM,           "TBM",           0x80000001, ecx, 21, amd},
    {x86_feature_TOPEX,         "TOPEX",         0x80000001, ecx, 22, amd},
    {x86_feature_PERFCORE,      "PERFCORE",      0x80000001, ecx, 23, amd},
    {x86_feature_PERFNB,        "PERFNB",        0x80000001, ecx, 24, amd},
    {x86_feature_EMX,           "EMX",           0x00000000, eax,  0, nobody},
    {x86_feature_IBE,           "IBE",           0x00000000, eax,  0, nobody},
    {x86_feature_TS,            "TS",            0x80000007, edx,  0, amd},
    {x86_feature_FID,           "FID",           0x80000007, edx,  1, amd},
    {x86_feature_VID,           "VID",           0x80000007, edx,  2, amd},
    {x86_feature_TTP,           "TTP",           0x80000007, edx,  3, amd},
    {x86_feature_TM_AMD,        "TM",            0x80000007, edx,  4, amd},
    {x86_feature_STC,           "STC",           0x80000007, edx,  5, amd},
    {x86_feature_100MHZ_STEPS,  "100MHZ_STEPS",  0x80000007, edx,  6, amd},
    {x86_feature_HW_PSTATE,     "HW_PSTATE",     0x80000007, edx,  7, amd},
    {x86_feature_TSC_INVARIANT, "TSC_INVARIANT", 0x80000007, edx,  8, amd},
    {x86_feature_CPB,           "CPB",           0x80000007, edx,  9, amd},
    {x86_feature_EFFFREQRO,     "EFFFREQRO",     0x80000007, edx, 10, amd},
    {x86_feature_NP,            "NP",            0x8000000A, edx,  0, amd},
    {x86_feature_LBRVIRT,       "LBRVIRT",       0x8000000A, edx,  1, amd},
    {x86_feature_SVML,          "SVML",          0x8000000A, edx,  2, amd},
    {x86_feature_NRIP,          "NRIP",          0x8000000A, edx,  3, amd},
    {x86_feature_TSCRATEMSR,    "TSCRATEMSR",    0x8000000A, edx,  4, amd},
    {x86_feature_VMCBCLEAN,     "VMCBCLEAN",     0x8000000A, edx,  5, amd},
    {x86_feature_FLUSHBYASID,   "FLUSHBYASID",   0x8000000A, edx,  6, amd},
    {x86_feature_DECODEASSISTS, "DECODEASSISTS", 0x8000000A, edx,  7, amd},
    {x86_feature_PAUSEFLTR,     "PAUSEFLTR",     0x8000000A, edx, 10, amd},
    {x86_feature_PAUSEFLTRTHRS, "PAUSEFLTRTHRS", 0x8000000A, edx, 12, amd},
    {x86_feature_unnamed124,    nullptr,         0x8000001A, eax,  1, amd},
    {x86_feature_FP128,         "FP128",         0x8000001A, eax,  0, amd},
};
// clang-format on

constexpr bool ascend(const Row& row, const Row& next) {
    return next.feature == row.feature + 1;
}

constexpr bool sameBitOfOneVendor(const Row& a, const Row& b) {
    return a.leaf == b.leaf && a.reg == b.reg && a.bit == b.bit && (a.vendors & b.vendors) != 0;
}

static_assert(rowCount(all) == x86_feature_count && all[0].feature == 0, "a row for every feature");
static_assert(rowsAscend(all, ascend), "row n is feature n");
static_assert(rowsDiffer(all, sameBitOfOneVendor), "no bit is two features of one maker");

} // namespace feature_rows
} // namespace libQuarrow::cpu
