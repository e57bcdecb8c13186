#pragma once

#include <libQuarrow/cpu/x86/decode/CpuidPlace.h>
#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>
#include <libQuarrow/cpu/x86/x86_feature_flags.h>
#include <libQuarrow/machine/cpuid_args.h>

#include <cstdint>

// Private to the library: every feature with its name and the CPUID bit that reports it.
//
//   feature   the enumerator; row n is feature n
//   name      how the text of a set calls it; null: the text leaves it out
//   leaf      CPUID leaf, always of sub-leaf 0
//   field     what the tables of fields (fields/) call the bit; they know where it stands
//   vendors   on whose processors the bit is looked at
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

constexpr Row row(x86_cpu_features feature, const char* name, std::uint32_t leaf, const char* field, Vendors vendors) {
    const CpuidPlace place = bitPlaceOf(leaf, 0, field);
    return {feature, name, leaf, registerOf(registerAt(place)), lowestBitAt(place), vendors};
}
// Not from a CPUID bit, or never set.
constexpr Row notReported(x86_cpu_features feature, const char* name) {
    return {feature, name, 0, &cpuid_args::eax, 0, nobody};
}

// clang-format off
constexpr Row all[] = {
    notReported(x86_feature_CPUID, "CPUID"),
    row(x86_feature_MMX,            "MMX",           0x00000001, "mmx",           anyVendor),
    row(x86_feature_MMX_EXT,        "MMX(+)",        0x80000001, "mmxext",        amd),
    row(x86_feature_3DNOW,          "3DNow!",        0x80000001, "3dnow",         amd),
    row(x86_feature_3DNOW_EXT,      "3DNow!(+)",     0x80000001, "3dnowext",      amd),
    row(x86_feature_PSE36,          "PSE36",         0x00000001, "pse36",         anyVendor),
    row(x86_feature_EM64T,          "EM64T",         0x80000001, "lm",            intel),
    row(x86_feature_X86_64,         "x86-64",        0x80000001, "lm",            amd),
    row(x86_feature_SSE,            "SSE",           0x00000001, "sse",           anyVendor),
    row(x86_feature_SSE2,           "SSE2",          0x00000001, "sse2",          anyVendor),
    row(x86_feature_SSE3,           "SSE3",          0x00000001, "pni",           intelAmd),
    row(x86_feature_SSSE3,          "SSSE3",         0x00000001, "ssse3",         intelAmd),
    row(x86_feature_SSE4_1,         "SSE4.1",        0x00000001, "sse4_1",        intelAmd),
    row(x86_feature_SSE4_2,         "SSE4.2",        0x00000001, "sse4_2",        intelAmd),
    row(x86_feature_SSE4A,          "SSE4A",         0x80000001, "sse4a",         amd),
    row(x86_feature_AVX,            "AVX",           0x00000001, "avx",           intelAmd),
    row(x86_feature_ABM,            "ABM",           0x80000001, "abm",           amd),
    row(x86_feature_X2APIC,         "x2APIC",        0x00000001, "x2apic",        intelAmd),
    row(x86_feature_FXSR,           "FXSR",          0x00000001, "fxsr",          anyVendor),
    row(x86_feature_ACPI,           "ACPI",          0x00000001, "acpi",          anyVendor),
    row(x86_feature_CLFLUSH,        "CLFLUSH",       0x00000001, "clflush",       anyVendor),
    row(x86_feature_PAT,            "PAT",           0x00000001, "pat",           anyVendor),
    row(x86_feature_CMOV,           "CMOV",          0x00000001, "cmov",          anyVendor),
    row(x86_feature_MCA,            "MCA",           0x00000001, "mca",           anyVendor),
    row(x86_feature_PGE,            "PGE",           0x00000001, "pge",           anyVendor),
    row(x86_feature_MTRR,           "MTRR",          0x00000001, "mtrr",          anyVendor),
    row(x86_feature_SEP,            "SEP",           0x00000001, "sep",           anyVendor),
    row(x86_feature_APIC,           "APIC",          0x00000001, "apic",          anyVendor),
    row(x86_feature_CMPXCHG8B,      "CMPXCHG8B",     0x00000001, "cx8",           anyVendor),
    row(x86_feature_MCE,            "MCE",           0x00000001, "mce",           anyVendor),
    row(x86_feature_PAE,            "PAE",           0x00000001, "pae",           anyVendor),
    row(x86_feature_MSR,            "MSR",           0x00000001, "msr",           anyVendor),
    row(x86_feature_TSC,            "TSC",           0x00000001, "tsc",           anyVendor),
    row(x86_feature_PSE,            "PSE",           0x00000001, "pse",           anyVendor),
    row(x86_feature_DE,             "DE",            0x00000001, "de",            anyVendor),
    row(x86_feature_VME,            "VME",           0x00000001, "vme",           anyVendor),
    row(x86_feature_FPU,            "FPU",           0x00000001, "fpu",           anyVendor),
    row(x86_feature_AES,            "AES",           0x00000001, "aes",           intelAmd),
    row(x86_feature_BMI,            "BMI",           0x00000007, "bmi1",          intelAmd),
    row(x86_feature_HTT,            "HTT",           0x00000001, "ht",            intelAmd),
    row(x86_feature_PCLMULQDQ,      "PCLMULQDQ",     0x00000001, "pclmulqdq",     intelAmd),
    row(x86_feature_MONITOR,        "MONITOR",       0x00000001, "monitor",       intelAmd),
    row(x86_feature_FMA,            "FMA",           0x00000001, "fma",           intelAmd),
    row(x86_feature_CMPXCHG16B,     "CMPXCHG16B",    0x00000001, "cx16",          intelAmd),
    row(x86_feature_POPCNT,         "POPCNT",        0x00000001, "popcnt",        intelAmd),
    row(x86_feature_XSAVE,          "XSAVE",         0x00000001, "xsave",         intelAmd),
    row(x86_feature_OSXSAVE,        "OSXSAVE",       0x00000001, "osxsave",       intelAmd),
    row(x86_feature_F16C,           "F16C",          0x00000001, "f16c",          intelAmd),
    row(x86_feature_LAHF_SAHF,      "LAHF/SAHF",     0x80000001, "lahf_lm",       intelAmd),
    row(x86_feature_SYSCALL,        "SYSCALL",       0x80000001, "syscall",       intelAmd),
    row(x86_feature_XD,             "XD",            0x80000001, "nx",            intel),
    row(x86_feature_EST,            "EST",           0x00000001, "est",           intel),
    row(x86_feature_PSN,            "PSN",           0x00000001, "pn",            intel),
    row(x86_feature_DS,             "DS",            0x00000001, "dts",           intel),
    row(x86_feature_SS,             "SS",            0x00000001, "ss",            intel),
    row(x86_feature_TM,             "TM",            0x00000001, "tm",            intel),
    row(x86_feature_PBE,            "PBE",           0x00000001, "pbe",           intel),
    row(x86_feature_VMX,            "VMX",           0x00000001, "vmx",           intel),
    row(x86_feature_IDA,            "IDA",           0x00000006, "ida",           intel),
    row(x86_feature_FSGSBASE,       "FSGSBASE",      0x00000007, "fsgsbase",      intel),
    row(x86_feature_HLE,            "HLE",           0x00000007, "hle",           intel),
    row(x86_feature_AVX2,           "AVX2",          0x00000007, "avx2",          intelAmd),
    row(x86_feature_SMEP,           "SMEP",          0x00000007, "smep",          intel),
    row(x86_feature_BMI2,           "BMI2",          0x00000007, "bmi2",          intel),
    row(x86_feature_ERMS,           "ERMS",          0x00000007, "erms",          intel),
    row(x86_feature_INVPCID,        "INVPCID",       0x00000007, "invpcid",       intel),
    row(x86_feature_RTM,            "RTM",           0x00000007, "rtm",           intel),
    row(x86_feature_AVX512F,        "AVX512F",       0x00000007, "avx512f",       intel),
    row(x86_feature_RDSEED,         "RDSEED",        0x00000007, "rdseed",        intel),
    row(x86_feature_ADX,            "ADX",           0x00000007, "adx",           intel),
    row(x86_feature_SMAP,           "SMAP",          0x00000007, "smap",          intel),
    row(x86_feature_AVX512PF,       "AVX512PF",      0x00000007, "avx512pf",      intel),
    row(x86_feature_AVX512ER,       "AVX512ER",      0x00000007, "avx512er",      intel),
    row(x86_feature_AVX512CD,       "AVX512CD",      0x00000007, "avx512cd",      intel),
    row(x86_feature_MTRR_AMD,       "MTRR",          0x80000001, "mtrr",          amd),
    row(x86_feature_PGE_AMD,        "PGE",           0x80000001, "pge",           amd),
    row(x86_feature_MCA_AMD,        "MCA",           0x80000001, "mca",           amd),
    row(x86_feature_CMOV_AMD,       "CMOV",          0x80000001, "cmov",          amd),
    row(x86_feature_PAT_AMD,        "PAT",           0x80000001, "pat",           amd),
    row(x86_feature_PSE36_AMD,      "PSE36",         0x80000001, "pse36",         amd),
    row(x86_feature_NX,             "NX",            0x80000001, "nx",            amd),
    row(x86_feature_FFXSR,          "FFXSR",         0x80000001, "fxsr_opt",      amd),
    row(x86_feature_PAGE1GB,        "PAGE1GB",       0x80000001, "pdpe1gb",       amd),
    row(x86_feature_RDTSCP,         "RDTSCP",        0x80000001, "rdtscp",        amd),
    row(x86_feature_CMPLEGACY,      "CMPLEGACY",     0x80000001, "cmp_legacy",    amd),
    row(x86_feature_SVM,            "SVM",           0x80000001, "svm",           amd),
    row(x86_feature_EXT_APIC,       "EXT_APIC",      0x80000001, "extapic",       amd),
    row(x86_feature_ALTMOVCR8,      "ALTMOVCR8",     0x80000001, "cr8_legacy",    amd),
    row(x86_feature_MISALIGN_SSE,   "MISALIGN_SSE",  0x80000001, "misalignsse",   amd),
    row(x86_feature_PREFETCH,       "PREFETCH",      0x80000001, "3dnowprefetch", amd),
    row(x86_feature_OSVW,           "OSVW",          0x80000001, "osvw",          amd),
    row(x86_feature_XOP,            "XOP",           0x80000001, "xop",           amd),
    row(x86_feature_SKINIT,         "SKINIT",        0x80000001, "skinit",        amd),
    row(x86_feature_WDT,            "WDT",           0x80000001, "wdt",           amd),
    row(x86_feature_LWP,            "LWP",           0x80000001, "lwp",           amd),
    row(x86_feature_FMA4,           "FMA4",          0x80000001, "fma4",          amd),
    row(x86_feature_TCE,            "TCE",           0x80000001, "tce",           amd),
    row(x86_feature_TBM,            "TBM",           0x80000001, "tbm",           amd),
    row(x86_feature_TOPEX,          "TOPEX",         0x80000001, "topoext",       amd),
    row(x86_feature_PERFCORE,       "PERFCORE",      0x80000001, "perfctr_core",  amd),
    row(x86_feature_PERFNB,         "PERFNB",        0x80000001, "perfctr_nb",    amd),
    notReported(x86_feature_EMX, "EMX"),
    notReported(x86_feature_IBE, "IBE"),
    row(x86_feature_TS,             "TS",            0x80000007, "ts",            amd),
    row(x86_feature_FID,            "FID",           0x80000007, "fid",           amd),
    row(x86_feature_VID,            "VID",           0x80000007, "vid",           amd),
    row(x86_feature_TTP,            "TTP",           0x80000007, "ttp",           amd),
    row(x86_feature_TM_AMD,         "TM",            0x80000007, "hw_tc",         amd),
    row(x86_feature_STC,            "STC",           0x80000007, "stc",           amd),
    row(x86_feature_100MHZ_STEPS,   "100MHZ_STEPS",  0x80000007, "100mhzsteps",   amd),
    row(x86_feature_HW_PSTATE,      "HW_PSTATE",     0x80000007, "hw_pstate",     amd),
    row(x86_feature_TSC_INVARIANT,  "TSC_INVARIANT", 0x80000007, "nonstop_tsc",   amd),
    row(x86_feature_CPB,            "CPB",           0x80000007, "cpb",           amd),
    row(x86_feature_EFFFREQRO,      "EFFFREQRO",     0x80000007, "eff_freq_ro",   amd),
    row(x86_feature_NP,             "NP",            0x8000000A, "npt",           amd),
    row(x86_feature_LBRVIRT,        "LBRVIRT",       0x8000000A, "lbrv",          amd),
    row(x86_feature_SVML,           "SVML",          0x8000000A, "svm_lock",      amd),
    row(x86_feature_NRIP,           "NRIP",          0x8000000A, "nrip_save",     amd),
    row(x86_feature_TSCRATEMSR,     "TSCRATEMSR",    0x8000000A, "tsc_scale",     amd),
    row(x86_feature_VMCBCLEAN,      "VMCBCLEAN",     0x8000000A, "vmcb_clean",    amd),
    row(x86_feature_FLUSHBYASID,    "FLUSHBYASID",   0x8000000A, "flushbyasid",   amd),
    row(x86_feature_DECODEASSISTS,  "DECODEASSISTS", 0x8000000A, "decodeassists", amd),
    row(x86_feature_PAUSEFLTR,      "PAUSEFLTR",     0x8000000A, "pausefilter",   amd),
    row(x86_feature_PAUSEFLTRTHRS,  "PAUSEFLTRTHRS", 0x8000000A, "pfthreshold",   amd),
    row(x86_feature_unnamed124,     nullptr,         0x8000001A, "movu",          amd),
    row(x86_feature_FP128,          "FP128",         0x8000001A, "fp128",         amd),
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
