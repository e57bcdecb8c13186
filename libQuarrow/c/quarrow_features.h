#ifndef QUARROW_FEATURES_H
#define QUARROW_FEATURES_H

/* Part of quarrow.h: features of processors, by constant and by name. */

#include <libQuarrow/c/quarrow_base.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The features that programs choose their code by. quarrow_feature_name() tells the name of each; the many others are
 * asked for by name. */
enum quarrow_feature {
    QUARROW_FEATURE_CMOV = 0,
    QUARROW_FEATURE_CX8 = 1,
    QUARROW_FEATURE_CX16 = 2,
    QUARROW_FEATURE_MMX = 3,
    QUARROW_FEATURE_SSE = 4,
    QUARROW_FEATURE_SSE2 = 5,
    QUARROW_FEATURE_SSE3 = 6,
    QUARROW_FEATURE_SSSE3 = 7,
    QUARROW_FEATURE_SSE4_1 = 8,
    QUARROW_FEATURE_SSE4_2 = 9,
    QUARROW_FEATURE_SSE4A = 10,
    QUARROW_FEATURE_POPCNT = 11,
    QUARROW_FEATURE_LZCNT = 12,
    QUARROW_FEATURE_BMI1 = 13,
    QUARROW_FEATURE_BMI2 = 14,
    QUARROW_FEATURE_ADX = 15,
    QUARROW_FEATURE_MOVBE = 16,
    QUARROW_FEATURE_TBM = 17,
    QUARROW_FEATURE_AES = 18,
    QUARROW_FEATURE_VAES = 19,
    QUARROW_FEATURE_PCLMUL = 20,
    QUARROW_FEATURE_VPCLMULQDQ = 21,
    QUARROW_FEATURE_GFNI = 22,
    QUARROW_FEATURE_SHA = 23,
    QUARROW_FEATURE_SHA512 = 24,
    QUARROW_FEATURE_SM3 = 25,
    QUARROW_FEATURE_SM4 = 26,
    QUARROW_FEATURE_RDRAND = 27,
    QUARROW_FEATURE_RDSEED = 28,
    QUARROW_FEATURE_AVX = 29,
    QUARROW_FEATURE_AVX2 = 30,
    QUARROW_FEATURE_F16C = 31,
    QUARROW_FEATURE_FMA = 32,
    QUARROW_FEATURE_FMA4 = 33,
    QUARROW_FEATURE_XOP = 34,
    QUARROW_FEATURE_AVX_VNNI = 35,
    QUARROW_FEATURE_AVX_VNNI_INT8 = 36,
    QUARROW_FEATURE_AVX_VNNI_INT16 = 37,
    QUARROW_FEATURE_AVX_IFMA = 38,
    QUARROW_FEATURE_AVX_NE_CONVERT = 39,
    QUARROW_FEATURE_AVX512F = 40,
    QUARROW_FEATURE_AVX512CD = 41,
    QUARROW_FEATURE_AVX512BW = 42,
    QUARROW_FEATURE_AVX512DQ = 43,
    QUARROW_FEATURE_AVX512VL = 44,
    QUARROW_FEATURE_AVX512_IFMA = 45,
    QUARROW_FEATURE_AVX512_VBMI = 46,
    QUARROW_FEATURE_AVX512_VBMI2 = 47,
    QUARROW_FEATURE_AVX512_VNNI = 48,
    QUARROW_FEATURE_AVX512_BITALG = 49,
    QUARROW_FEATURE_AVX512_VPOPCNTDQ = 50,
    QUARROW_FEATURE_AVX512_VP2INTERSECT = 51,
    QUARROW_FEATURE_AVX512_BF16 = 52,
    QUARROW_FEATURE_AVX512_FP16 = 53,
    QUARROW_FEATURE_AVX10 = 54,
    QUARROW_FEATURE_AMX_TILE = 55,
    QUARROW_FEATURE_AMX_INT8 = 56,
    QUARROW_FEATURE_AMX_BF16 = 57,
    QUARROW_FEATURE_AMX_FP16 = 58,
    QUARROW_FEATURE_AMX_COMPLEX = 59,
    QUARROW_FEATURE_APX = 60,
    QUARROW_FEATURE_RTM = 61,
    QUARROW_FEATURE_CLFLUSHOPT = 62,
    QUARROW_FEATURE_CLWB = 63,
    QUARROW_FEATURE_MOVDIRI = 64,
    QUARROW_FEATURE_MOVDIR64B = 65,
    QUARROW_FEATURE_WAITPKG = 66,
    QUARROW_FEATURE_SERIALIZE = 67,
    QUARROW_FEATURE_CMPCCXADD = 68,
    QUARROW_FEATURE_RDTSCP = 69,
    QUARROW_FEATURE_RDPID = 70,
    QUARROW_FEATURE_PREFETCHW = 71
};

/* 1 where the processor with that number has the feature, and where programs can use it: the operating system keeps the
 * registers that it needs. Ask the second before choosing code. (On Linux a program also asks for AMX first.) */
int quarrow_processor_has(const quarrow_machine* machine, uint32_t number, uint32_t feature);
int quarrow_processor_can_use(const quarrow_machine* machine, uint32_t number, uint32_t feature);
/* The same by a name as /proc/cpuinfo has it: "avx2". A name that the library does not know is a failure. */
int quarrow_processor_has_named(const quarrow_machine* machine, uint32_t number, const char* name);
int quarrow_processor_can_use_named(const quarrow_machine* machine, uint32_t number, const char* name);
/* The names of all that it has or, `usable` not 0, that programs can use, blanks between them. The caller owns it. */
char* quarrow_processor_features(const quarrow_machine* machine, uint32_t number, int usable);

/* The name of a constant of enum quarrow_feature: "avx2"; NULL on failure. */
const char* quarrow_feature_name(uint32_t feature);
/* Every feature that the library knows, some 450, in the order of CPUID's leaves and bits: how many there are, and the
 * name of the one at an index, which may be another in the next version; NULL on failure. */
size_t quarrow_feature_count(void);
const char* quarrow_feature_at(size_t index);
/* What the feature of that name is, in a phrase; NULL for a name that the library does not know. */
const char* quarrow_feature_meaning(const char* name);

#ifdef __cplusplus
}
#endif

#endif
