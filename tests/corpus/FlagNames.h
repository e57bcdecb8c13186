#pragma once

#include <libQuarrow/cpu/x86/x86_feature_flags.h>

#include <vector>

namespace libQuarrow::cpu {

// What Linux-style flag lists call our features, grouped by whose processors we ask for them.
struct FlagName {
    x86_cpu_features feature;
    const char* flag;
};
using FlagNames = std::vector<FlagName>;

// clang-format off
const FlagNames flagsOfAll = {
    {x86_feature_FPU, "fpu"},   {x86_feature_VME, "vme"},     {x86_feature_DE, "de"},
    {x86_feature_PSE, "pse"},   {x86_feature_TSC, "tsc"},     {x86_feature_MSR, "msr"},
    {x86_feature_PAE, "pae"},   {x86_feature_MCE, "mce"},     {x86_feature_CMPXCHG8B, "cx8"},
    {x86_feature_APIC, "apic"}, {x86_feature_SEP, "sep"},     {x86_feature_MTRR, "mtrr"},
    {x86_feature_PGE, "pge"},   {x86_feature_MCA, "mca"},     {x86_feature_CMOV, "cmov"},
    {x86_feature_PAT, "pat"},   {x86_feature_PSE36, "pse36"}, {x86_feature_CLFLUSH, "clflush"},
    {x86_feature_ACPI, "acpi"}, {x86_feature_MMX, "mmx"},     {x86_feature_FXSR, "fxsr"},
    {x86_feature_SSE, "sse"},   {x86_feature_SSE2, "sse2"},
};
const FlagNames flagsOfIntelAndAmd = {
    {x86_feature_HTT, "ht"},            {x86_feature_SSE3, "pni"},        {x86_feature_PCLMULQDQ, "pclmul"},
    {x86_feature_MONITOR, "monitor"},   {x86_feature_SSSE3, "ssse3"},     {x86_feature_FMA, "fma3"},
    {x86_feature_CMPXCHG16B, "cx16"},   {x86_feature_SSE4_1, "sse4_1"},   {x86_feature_SSE4_2, "sse4_2"},
    {x86_feature_X2APIC, "x2apic"},     {x86_feature_POPCNT, "popcnt"},   {x86_feature_AES, "aes"},
    {x86_feature_XSAVE, "xsave"},       {x86_feature_OSXSAVE, "osxsave"}, {x86_feature_AVX, "avx"},
    {x86_feature_F16C, "f16c"},         {x86_feature_BMI, "bmi1"},        {x86_feature_AVX2, "avx2"},
    {x86_feature_LAHF_SAHF, "lahf_lm"}, {x86_feature_SYSCALL, "syscall"},
};
const FlagNames flagsOfIntel = {
    {x86_feature_PSN, "pn"},            {x86_feature_DS, "dts"},  {x86_feature_SS, "ss"},
    {x86_feature_TM, "tm"},             {x86_feature_PBE, "pbe"}, {x86_feature_EST, "est"},
    {x86_feature_VMX, "vmx"},           {x86_feature_XD, "xd"},   {x86_feature_EM64T, "lm"},
    {x86_feature_BMI2, "bmi2"},         {x86_feature_HLE, "hle"}, {x86_feature_RTM, "rtm"},
    {x86_feature_RDSEED, "rdseed"},     {x86_feature_ADX, "adx"}, {x86_feature_AVX512F, "avx512f"},
    {x86_feature_AVX512CD, "avx512cd"},
};
const FlagNames flagsOfAmd = {
    {x86_feature_X86_64, "lm"},                  {x86_feature_NX, "nx"},                {x86_feature_MMX_EXT, "mmxext"},
    {x86_feature_3DNOW, "3dnow"},                {x86_feature_3DNOW_EXT, "3dnowext"},   {x86_feature_FFXSR, "fxsr_opt"},
    {x86_feature_RDTSCP, "rdtscp"},              {x86_feature_CMPLEGACY, "cmp_legacy"}, {x86_feature_SVM, "svm"},
    {x86_feature_MISALIGN_SSE, "misalignsse"},   {x86_feature_SSE4A, "sse4a"},          {x86_feature_ABM, "abm"},
    {x86_feature_PREFETCH, "3dnowprefetch"},     {x86_feature_OSVW, "osvw"},            {x86_feature_XOP, "xop"},
    {x86_feature_SKINIT, "skinit"},              {x86_feature_WDT, "wdt"},              {x86_feature_FMA4, "fma4"},
    {x86_feature_TS, "ts"},                      {x86_feature_FID, "fid"},              {x86_feature_VID, "vid"},
    {x86_feature_TTP, "ttp"},                    {x86_feature_TM_AMD, "tm_amd"},        {x86_feature_STC, "stc"},
    {x86_feature_100MHZ_STEPS, "100mhzsteps"},   {x86_feature_HW_PSTATE, "hwpstate"},   {x86_feature_CPB, "cpb"},
    {x86_feature_TSC_INVARIANT, "constant_tsc"},
};
// clang-format on

} // namespace libQuarrow::cpu
