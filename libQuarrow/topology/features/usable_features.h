#pragma once

#include <cstdint>

// Private to the library: which features a program can execute by itself, and which register state the operating system
// must have enabled for that (XCR0; Intel SDM volume 1, chapter 13, AMD APM volume 2, chapter 11). A feature that is
// not listed is the operating system's or the firmware's, not a program's.

namespace libQuarrow::topology {

constexpr std::uint64_t noState = 0;
constexpr std::uint64_t avxState = 0x6;        // SSE, AVX
constexpr std::uint64_t mpxState = 0x18;       // BNDREGS, BNDCSR
constexpr std::uint64_t avx512State = 0xE6;    // avxState, opmask, ZMM_Hi256, Hi16_ZMM
constexpr std::uint64_t pkruState = 0x200;     // PKRU
constexpr std::uint64_t amxState = 0x60000;    // TILECFG, TILEDATA
constexpr std::uint64_t apxState = 0x80000;    // APX
constexpr std::uint64_t lwpState = 1ULL << 62; // LWP

struct UsableFeature {
    const char* name;
    std::uint64_t state;
    const char* enabledBy = nullptr; // a further flag that says that the system has enabled it
};

// clang-format off
constexpr UsableFeature usableFeatures[] = {
    {"fpu", noState}, {"tsc", noState}, {"cx8", noState}, {"cmov", noState}, {"clflush", noState}, {"mmx", noState},
    {"fxsr", noState}, {"sse", noState}, {"sse2", noState}, {"pni", noState}, {"ssse3", noState}, {"sse4_1", noState},
    {"sse4_2", noState}, {"sse4a", noState}, {"misalignsse", noState}, {"mmxext", noState}, {"3dnow", noState},
    {"3dnowext", noState}, {"3dnowprefetch", noState}, {"prefetchwt1", noState}, {"prefetchi", noState},
    {"cx16", noState}, {"lahf_lm", noState}, {"lm", noState}, {"syscall", noState}, {"sep", noState},
    {"movbe", noState}, {"popcnt", noState}, {"abm", noState}, {"bmi1", noState}, {"bmi2", noState}, {"tbm", noState},
    {"adx", noState}, {"aes", noState}, {"pclmulqdq", noState}, {"gfni", noState}, {"sha_ni", noState},
    {"rdrand", noState}, {"rdseed", noState}, {"rdtscp", noState}, {"rdpid", noState}, {"rdpru", noState},
    {"erms", noState}, {"fsrm", noState}, {"fzrm", noState}, {"fsrs", noState}, {"fsrc", noState}, {"amd_erms", noState},
    {"fast_rep_scasb", noState}, {"hle", noState}, {"rtm", noState}, {"tsxldtrk", noState}, {"clflushopt", noState},
    {"clwb", noState}, {"cldemote", noState}, {"clzero", noState}, {"mcommit", noState}, {"movdiri", noState},
    {"movdir64b", noState}, {"waitpkg", noState}, {"mwaitx", noState}, {"serialize", noState}, {"ptwrite", noState},
    {"cmpccxadd", noState}, {"rao_int", noState}, {"movrs", noState}, {"k1om", noState},
    {"aeskle", noState}, {"aes_wide_kl", noState},
    {"rng", noState, "rng_en"}, {"ace", noState, "ace_en"}, {"ace2", noState, "ace2_en"}, {"phe", noState, "phe_en"},
    {"pmm", noState, "pmm_en"}, {"sm2", noState, "sm2_en"}, {"ccs", noState, "ccs_en"}, {"rng2", noState, "rng2_en"},
    {"phe2", noState, "phe2_en"},
    {"xsave", noState, "osxsave"}, {"xsaveopt", noState, "osxsave"}, {"xsavec", noState, "osxsave"},
    {"xgetbv1", noState, "osxsave"},
    {"avx", avxState}, {"avx2", avxState}, {"f16c", avxState}, {"fma", avxState}, {"fma4", avxState}, {"xop", avxState},
    {"vaes", avxState}, {"vpclmulqdq", avxState}, {"avx_vnni", avxState}, {"avx_ifma", avxState},
    {"avx_vnni_int8", avxState}, {"avx_vnni_int16", avxState}, {"avx_ne_convert", avxState}, {"sha512", avxState},
    {"sm3", avxState}, {"sm4", avxState},
    {"avx512f", avx512State}, {"avx512dq", avx512State}, {"avx512ifma", avx512State}, {"avx512pf", avx512State},
    {"avx512er", avx512State}, {"avx512cd", avx512State}, {"avx512bw", avx512State}, {"avx512vl", avx512State},
    {"avx512vbmi", avx512State}, {"avx512_vbmi2", avx512State}, {"avx512_vnni", avx512State},
    {"avx512_bitalg", avx512State}, {"avx512_vpopcntdq", avx512State}, {"avx512_4vnniw", avx512State},
    {"avx512_4fmaps", avx512State}, {"avx512_vp2intersect", avx512State}, {"avx512_bf16", avx512State},
    {"avx512_fp16", avx512State}, {"avx10", avx512State}, {"avx10_128", avx512State}, {"avx10_256", avx512State},
    {"avx10_512", avx512State},
    {"amx_tile", amxState}, {"amx_int8", amxState}, {"amx_bf16", amxState}, {"amx_fp16", amxState},
    {"amx_complex", amxState}, {"amx_fp8", amxState}, {"amx_transpose", amxState}, {"amx_tf32", amxState},
    {"amx_avx512", amxState}, {"amx_movrs", amxState},
    {"apx_f", apxState}, {"mpx", mpxState}, {"pku", pkruState, "ospke"}, {"lwp", lwpState},
};
// clang-format on

} // namespace libQuarrow::topology
