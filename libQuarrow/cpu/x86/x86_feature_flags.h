#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/String.h>

#include <array>
#include <cstdint>

namespace libQuarrow::cpu {

// A capability of a processor. The comment names the CPUID bit that reports it and, where not every maker's processor
// is asked, whose.
enum x86_cpu_features : std::uint32_t {
    x86_feature_CPUID = 0,           // EFLAGS bit 21 toggles
    x86_feature_MMX = 1,             // leaf 1 EDX bit 23
    x86_feature_MMX_EXT = 2,         // leaf 0x80000001 EDX bit 22; AMD
    x86_feature_3DNOW = 3,           // leaf 0x80000001 EDX bit 31; AMD
    x86_feature_3DNOW_EXT = 4,       // leaf 0x80000001 EDX bit 30; AMD
    x86_feature_PSE36 = 5,           // leaf 1 EDX bit 17
    x86_feature_EM64T = 6,           // leaf 0x80000001 EDX bit 29; Intel
    x86_feature_X86_64 = 7,          // leaf 0x80000001 EDX bit 29; AMD
    x86_feature_SSE = 8,             // leaf 1 EDX bit 25
    x86_feature_SSE2 = 9,            // leaf 1 EDX bit 26
    x86_feature_SSE3 = 10,           // leaf 1 ECX bit 0; Intel, AMD
    x86_feature_SSSE3 = 11,          // leaf 1 ECX bit 9; Intel, AMD
    x86_feature_SSE4_1 = 12,         // leaf 1 ECX bit 19; Intel, AMD
    x86_feature_SSE4_2 = 13,         // leaf 1 ECX bit 20; Intel, AMD
    x86_feature_SSE4A = 14,          // leaf 0x80000001 ECX bit 6; AMD
    x86_feature_AVX = 15,            // leaf 1 ECX bit 28; Intel, AMD
    x86_feature_ABM = 16,            // leaf 0x80000001 ECX bit 5; AMD
    x86_feature_X2APIC = 17,         // leaf 1 ECX bit 21; Intel, AMD
    x86_feature_FXSR = 18,           // leaf 1 EDX bit 24
    x86_feature_ACPI = 19,           // leaf 1 EDX bit 22
    x86_feature_CLFLUSH = 20,        // leaf 1 EDX bit 19
    x86_feature_PAT = 21,            // leaf 1 EDX bit 16
    x86_feature_CMOV = 22,           // leaf 1 EDX bit 15
    x86_feature_MCA = 23,            // leaf 1 EDX bit 14
    x86_feature_PGE = 24,            // leaf 1 EDX bit 13
    x86_feature_MTRR = 25,           // leaf 1 EDX bit 12
    x86_feature_SEP = 26,            // leaf 1 EDX bit 11
    x86_feature_APIC = 27,           // leaf 1 EDX bit 9
    x86_feature_CMPXCHG8B = 28,      // leaf 1 EDX bit 8
    x86_feature_MCE = 29,            // leaf 1 EDX bit 7
    x86_feature_PAE = 30,            // leaf 1 EDX bit 6
    x86_feature_MSR = 31,            // leaf 1 EDX bit 5
    x86_feature_TSC = 32,            // leaf 1 EDX bit 4
    x86_feature_PSE = 33,            // leaf 1 EDX bit 3
    x86_feature_DE = 34,             // leaf 1 EDX bit 2
    x86_feature_VME = 35,            // leaf 1 EDX bit 1
    x86_feature_FPU = 36,            // leaf 1 EDX bit 0
    x86_feature_AES = 37,            // leaf 1 ECX bit 25; Intel, AMD
    x86_feature_BMI = 38,            // 7 sub-0 EBX bit 3; Intel, AMD
    x86_feature_HTT = 39,            // leaf 1 EDX bit 28; Intel, AMD
    x86_feature_PCLMULQDQ = 40,      // leaf 1 ECX bit 1; Intel, AMD
    x86_feature_MONITOR = 41,        // leaf 1 ECX bit 3; Intel, AMD
    x86_feature_FMA = 42,            // leaf 1 ECX bit 12; Intel, AMD
    x86_feature_CMPXCHG16B = 43,     // leaf 1 ECX bit 13; Intel, AMD
    x86_feature_POPCNT = 44,         // leaf 1 ECX bit 23; Intel, AMD
    x86_feature_XSAVE = 45,          // leaf 1 ECX bit 26; Intel, AMD
    x86_feature_OSXSAVE = 46,        // leaf 1 ECX bit 27; Intel, AMD
    x86_feature_F16C = 47,           // leaf 1 ECX bit 29; Intel, AMD
    x86_feature_LAHF_SAHF = 48,      // leaf 0x80000001 ECX bit 0; Intel, AMD
    x86_feature_SYSCALL = 49,        // leaf 0x80000001 EDX bit 11; Intel, AMD
    x86_feature_XD = 50,             // leaf 0x80000001 EDX bit 20; Intel
    x86_feature_EST = 51,            // leaf 1 ECX bit 7; Intel
    x86_feature_PSN = 52,            // leaf 1 EDX bit 18; Intel
    x86_feature_DS = 53,             // leaf 1 EDX bit 21; Intel
    x86_feature_SS = 54,             // leaf 1 EDX bit 27; Intel
    x86_feature_TM = 55,             // leaf 1 EDX bit 29; Intel
    x86_feature_PBE = 56,            // leaf 1 EDX bit 31; Intel
    x86_feature_VMX = 57,            // leaf 1 ECX bit 5; Intel
    x86_feature_IDA = 58,            // leaf 6 EAX bit 1; Intel
    x86_feature_FSGSBASE = 59,       // 7 sub-0 EBX bit 0; Intel
    x86_feature_HLE = 60,            // 7 sub-0 EBX bit 4; Intel
    x86_feature_AVX2 = 61,           // 7 sub-0 EBX bit 5; Intel, AMD
    x86_feature_SMEP = 62,           // 7 sub-0 EBX bit 7; Intel
    x86_feature_BMI2 = 63,           // 7 sub-0 EBX bit 8; Intel
    x86_feature_ERMS = 64,           // 7 sub-0 EBX bit 9; Intel
    x86_feature_INVPCID = 65,        // 7 sub-0 EBX bit 10; Intel
    x86_feature_RTM = 66,            // 7 sub-0 EBX bit 11; Intel
    x86_feature_AVX512F = 67,        // 7 sub-0 EBX bit 16; Intel
    x86_feature_RDSEED = 68,         // 7 sub-0 EBX bit 18; Intel
    x86_feature_ADX = 69,            // 7 sub-0 EBX bit 19; Intel
    x86_feature_SMAP = 70,           // 7 sub-0 EBX bit 20; Intel
    x86_feature_AVX512PF = 71,       // 7 sub-0 EBX bit 26; Intel
    x86_feature_AVX512ER = 72,       // 7 sub-0 EBX bit 27; Intel
    x86_feature_AVX512CD = 73,       // 7 sub-0 EBX bit 28; Intel
    x86_feature_MTRR_AMD = 74,       // leaf 0x80000001 EDX bit 12; AMD
    x86_feature_PGE_AMD = 75,        // leaf 0x80000001 EDX bit 13; AMD
    x86_feature_MCA_AMD = 76,        // leaf 0x80000001 EDX bit 14; AMD
    x86_feature_CMOV_AMD = 77,       // leaf 0x80000001 EDX bit 15; AMD
    x86_feature_PAT_AMD = 78,        // leaf 0x80000001 EDX bit 16; AMD
    x86_feature_PSE36_AMD = 79,      // leaf 0x80000001 EDX bit 17; AMD
    x86_feature_NX = 80,             // leaf 0x80000001 EDX bit 20; AMD
    x86_feature_FFXSR = 81,          // leaf 0x80000001 EDX bit 25; AMD
    x86_feature_PAGE1GB = 82,        // leaf 0x80000001 EDX bit 26; AMD
    x86_feature_RDTSCP = 83,         // leaf 0x80000001 EDX bit 27; AMD
    x86_feature_CMPLEGACY = 84,      // leaf 0x80000001 ECX bit 1; AMD
    x86_feature_SVM = 85,            // leaf 0x80000001 ECX bit 2; AMD
    x86_feature_EXT_APIC = 86,       // leaf 0x80000001 ECX bit 3; AMD
    x86_feature_ALTMOVCR8 = 87,      // leaf 0x80000001 ECX bit 4; AMD
    x86_feature_MISALIGN_SSE = 88,   // leaf 0x80000001 ECX bit 7; AMD
    x86_feature_PREFETCH = 89,       // leaf 0x80000001 ECX bit 8; AMD
    x86_feature_OSVW = 90,           // leaf 0x80000001 ECX bit 9; AMD
    x86_feature_XOP = 91,            // leaf 0x80000001 ECX bit 11; AMD
    x86_feature_SKINIT = 92,         // leaf 0x80000001 ECX bit 12; AMD
    x86_feature_WDT = 93,            // leaf 0x80000001 ECX bit 13; AMD
    x86_feature_LWP = 94,            // leaf 0x80000001 ECX bit 15; AMD
    x86_feature_FMA4 = 95,           // leaf 0x80000001 ECX bit 16; AMD
    x86_feature_TCE = 96,            // leaf 0x80000001 ECX bit 17; AMD
    x86_feature_TBM = 97,            // leaf 0x80000001 ECX bit 21; AMD
    x86_feature_TOPEX = 98,          // leaf 0x80000001 ECX bit 22; AMD
    x86_feature_PERFCORE = 99,       // leaf 0x80000001 ECX bit 23; AMD
    x86_feature_PERFNB = 100,        // leaf 0x80000001 ECX bit 24; AMD
    x86_feature_EMX = 101,           // a name only: never set
    x86_feature_IBE = 102,           // a name only: never set
    x86_feature_TS = 103,            // leaf 0x80000007 EDX bit 0; AMD
    x86_feature_FID = 104,           // leaf 0x80000007 EDX bit 1; AMD
    x86_feature_VID = 105,           // leaf 0x80000007 EDX bit 2; AMD
    x86_feature_TTP = 106,           // leaf 0x80000007 EDX bit 3; AMD
    x86_feature_TM_AMD = 107,        // leaf 0x80000007 EDX bit 4; AMD
    x86_feature_STC = 108,           // leaf 0x80000007 EDX bit 5; AMD
    x86_feature_100MHZ_STEPS = 109,  // leaf 0x80000007 EDX bit 6; AMD
    x86_feature_HW_PSTATE = 110,     // leaf 0x80000007 EDX bit 7; AMD
    x86_feature_TSC_INVARIANT = 111, // leaf 0x80000007 EDX bit 8; AMD
    x86_feature_CPB = 112,           // leaf 0x80000007 EDX bit 9; AMD
    x86_feature_EFFFREQRO = 113,     // leaf 0x80000007 EDX bit 10; AMD
    x86_feature_NP = 114,            // leaf 0x8000000A EDX bit 0; AMD
    x86_feature_LBRVIRT = 115,       // leaf 0x8000000A EDX bit 1; AMD
    x86_feature_SVML = 116,          // leaf 0x8000000A EDX bit 2; AMD
    x86_feature_NRIP = 117,          // leaf 0x8000000A EDX bit 3; AMD
    x86_feature_TSCRATEMSR = 118,    // leaf 0x8000000A EDX bit 4; AMD
    x86_feature_VMCBCLEAN = 119,     // leaf 0x8000000A EDX bit 5; AMD
    x86_feature_FLUSHBYASID = 120,   // leaf 0x8000000A EDX bit 6; AMD
    x86_feature_DECODEASSISTS = 121, // leaf 0x8000000A EDX bit 7; AMD
    x86_feature_PAUSEFLTR = 122,     // leaf 0x8000000A EDX bit 10; AMD
    x86_feature_PAUSEFLTRTHRS = 123, // leaf 0x8000000A EDX bit 12; AMD
    x86_feature_unnamed124 = 124,    // leaf 0x8000001A EAX bit 1; AMD
    x86_feature_FP128 = 125,         // leaf 0x8000001A EAX bit 0; AMD
};

// Feature values in use: 0 to x86_feature_count - 1.
constexpr std::uint32_t x86_feature_count = 126;

// A set of processor features: 256 bits, feature v at bit v % 32 of word v / 32. Never allocates.
class QUARROW_EXPORT x86_feature_flags {
  public:
    x86_feature_flags() = default; // empty

    // A value of 256 or more is the caller's error.
    bool hasFeature(x86_cpu_features feature) const;
    void addFeature(x86_cpu_features feature);
    void removeFeature(x86_cpu_features feature);
    void clear();

    x86_feature_flags& operator|=(x86_cpu_features feature);
    x86_feature_flags& operator|=(const x86_feature_flags& other);
    x86_feature_flags& operator&=(const x86_feature_flags& other);
    x86_feature_flags operator|(const x86_feature_flags& other) const;
    x86_feature_flags operator&(const x86_feature_flags& other) const;
    bool operator==(const x86_feature_flags& other) const;
    bool operator!=(const x86_feature_flags& other) const { return !(*this == other); }

    // The name of a feature; null for one without a name (124) and for a value past the last.
    static const char* toString(x86_cpu_features feature);
    // The names of all features in the set, ascending, joined with ", "; a feature without a name is left out.
    zel::String toString() const;

  private:
    std::array<std::uint32_t, 8> m_words{};
};

} // namespace libQuarrow::cpu
