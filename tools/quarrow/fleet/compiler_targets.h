#pragma once

// Private to CompilerTargets.cpp: the targets of gcc and clang, and what each enables.
//
// Sources: the macros that Debian's gcc 11 and 12 and clang 13, 14, 16, 19 and 22 define with each -march; for later
// versions of gcc the PTA_ tables of gcc/config/i386/i386.h, as in the branch of gcc 13, in the sources of gcc 15 while
// it was made, and in those of 2026; for gcc 14 its page of changes. A feature that some version of a compiler has with
// a target and another has not is listed where it can be switched off (see targetSwitches); otherwise the target has a
// row for either.
//
// Left out: targets with AVX10.2, whose version is no flag; those of makers whose targets no such compiler could be
// asked about; other names of the same target.

namespace quarrow {

constexpr unsigned int none = 0;    // the compiler does not have it
constexpr unsigned int later = ~0U; // nor has dropped it
constexpr unsigned int oldGcc = 11;
constexpr unsigned int newGcc = 15;
constexpr unsigned int oldClang = 13;
constexpr unsigned int newClang = 22;

struct CompilerTarget {
    const char* name;
    unsigned int gccFrom, gccTo, clangFrom, clangTo; // versions; the oldest ones had it before, too
    const char* base;                                // the target, in a row above, whose features it has too
    const char* features;                            // further ones, named as the library does
    const char* clangAlso = "";
    const char* gccAlso = "";
    const char* madeFor = ""; // codenames and microarchitectures that it is named after, bars between them
};

// clang-format off
constexpr CompilerTarget compilerTargets[] = {
    // name             gcc           clang         base              features
    {"i486",            11, later,    13, later,    "",               "fpu"},
    {"i586",            11, later,    13, later,    "i486",           "cx8", "", "", "P5"},
    {"pentium-mmx",     11, later,    13, later,    "i586",           "mmx"},
    {"k6",              11, later,    13, later,    "pentium-mmx",    "", "", "", "K6"},
    {"k6-2",            11, later,    13, 18,       "k6",             "3dnow", "", "", "K6-2"},
    {"i686",            11, later,    13, later,    "i586",           "cmov", "", "", "P6"},
    {"pentium2",        11, later,    13, later,    "i686",           "mmx fxsr", "", "", "Klamath|Deschutes|Dixon|Covington|Mendocino"},
    {"pentium3",        11, later,    13, later,    "pentium2",       "sse", "", "", "Katmai|Coppermine|Tualatin|Cascades"},
    {"pentium-m",       11, later,    13, later,    "pentium3",       "sse2", "", "", "Pentium M"},
    {"pentium4",        11, later,    13, later,    "pentium3",       "sse2", "", "", "NetBurst"},
    {"prescott",        11, later,    13, later,    "pentium4",       "pni", "", "", "Prescott|Yonah|Sossaman"},
    {"athlon",          11, later,    13, 18,       "i686",           "mmx 3dnow 3dnowext"},
    {"athlon-xp",       11, later,    13, 18,       "athlon",         "sse fxsr", "", "", "K7"},

    {"x86-64",          11, later,    13, later,    "pentium4",       "lm"},
    {"x86-64-v2",       11, later,    13, later,    "x86-64",         "cx16 lahf_lm popcnt pni ssse3 sse4_1 sse4_2"},
    {"x86-64-v3",       11, later,    13, later,    "x86-64-v2",      "avx avx2 bmi1 bmi2 f16c fma abm movbe xsave"},
    {"x86-64-v4",       11, later,    13, later,    "x86-64-v3",      "avx512f avx512bw avx512cd avx512dq avx512vl"},

    {"nocona",          11, later,    13, later,    "x86-64",         "pni cx16", "", "", "Nocona|Irwindale"},
    {"core2",           11, later,    13, later,    "nocona",         "lahf_lm ssse3", "", "", "Core"},
    {"penryn",          none, none,   13, later,    "core2",          "sse4_1", "", "", "Penryn"},
    {"nehalem",         11, later,    13, later,    "core2",          "popcnt sse4_1 sse4_2", "", "", "Nehalem"},
    {"westmere",        11, later,    13, later,    "nehalem",        "pclmulqdq", "", "", "Westmere"},
    {"sandybridge",     11, later,    13, later,    "westmere",       "avx xsave xsaveopt", "", "", "Sandy Bridge"},
    {"ivybridge",       11, later,    13, later,    "sandybridge",    "f16c fsgsbase rdrand", "", "", "Ivy Bridge"},
    {"haswell",         11, later,    13, later,    "ivybridge",      "avx2 bmi1 bmi2 fma abm movbe", "invpcid", "", "Haswell"},
    {"broadwell",       11, later,    13, later,    "haswell",        "adx 3dnowprefetch rdseed", "", "", "Broadwell"},
    {"skylake",         11, later,    13, later,    "broadwell",      "aes clflushopt sgx xsavec xsaves", "", "", "Skylake"},
    {"skylake-avx512",  11, later,    13, later,    "broadwell",      "aes clflushopt xsavec xsaves avx512f avx512bw avx512cd avx512dq avx512vl clwb pku", "", "sgx",
                                                                      "Skylake-SP|Skylake-X|Skylake-W|Skylake-D"},
    {"cascadelake",     11, later,    13, later,    "skylake-avx512", "avx512_vnni", "", "", "Cascade Lake|Cascade Lake-X"},
    {"cooperlake",      11, later,    13, later,    "cascadelake",    "avx512_bf16", "", "", "Cooper Lake"},
    {"cannonlake",      11, later,    13, later,    "skylake",        "avx512f avx512bw avx512cd avx512dq avx512vl avx512ifma avx512vbmi pku sha_ni", "", "", "Palm Cove"},
    {"icelake-client",  11, later,    13, later,    "cannonlake",     "avx512_bitalg avx512_vbmi2 avx512_vnni avx512_vpopcntdq gfni rdpid vaes vpclmulqdq", "", "", "Ice Lake"},
    {"rocketlake",      11, later,    13, later,    "icelake-client", "", "", "", "Rocket Lake"},
    {"icelake-server",  11, later,    13, later,    "icelake-client", "clwb pconfig wbnoinvd", "", "", "Ice Lake-SP|Ice Lake-D"},
    {"tigerlake",       11, later,    13, later,    "icelake-client", "avx512_vp2intersect clwb aeskle aes_wide_kl movdir64b movdiri", "shstk", "", "Tiger Lake"},
    {"sapphirerapids",  13, later,    16, later,    "icelake-server", "amx_tile amx_int8 amx_bf16 avx512_bf16 avx512_fp16 avx_vnni cldemote enqcmd movdir64b movdiri ptwrite "
                                                                      "serialize tsxldtrk uintr waitpkg", "shstk", "", "Sapphire Rapids"},
    {"sapphirerapids",  11, 12,       13, 15,       "sapphirerapids", "avx512_vp2intersect", "", "", "Sapphire Rapids"},
    {"emeraldrapids",   13, later,    16, later,    "sapphirerapids", "", "", "", "Emerald Rapids"},
    {"graniterapids",   13, later,    16, later,    "sapphirerapids", "amx_fp16 prefetchi", "", "", "Granite Rapids"},
    {"alderlake",       11, later,    13, later,    "skylake",        "avx_vnni cldemote clwb gfni hreset aeskle aes_wide_kl movdir64b movdiri pconfig pku ptwrite rdpid serialize "
                                                                      "sha_ni vaes vpclmulqdq waitpkg", "shstk", "", "Alder Lake|Alder Lake-N|Gracemont"},
    {"raptorlake",      13, later,    16, later,    "alderlake",      "", "", "", "Raptor Lake|Raptor Lake-S|Raptor Lake-P"},
    {"meteorlake",      13, later,    16, later,    "alderlake",      "", "", "", "Meteor Lake|Arrow Lake-U"},
    {"arrowlake",       14, later,    18, later,    "alderlake",      "avx_ifma avx_ne_convert avx_vnni_int8 cmpccxadd uintr", "enqcmd", "", "Arrow Lake-H"},
    {"arrowlake-s",     14, later,    18, later,    "arrowlake",      "avx_vnni_int16 sha512 sm3 sm4", "", "", "Arrow Lake-S"},
    {"lunarlake",       14, later,    18, later,    "arrowlake-s",    "", "", "", "Lunar Lake"},
    {"pantherlake",     14, later,    18, later,    "arrowlake-s",    "prefetchi", "", "", "Panther Lake"},
    {"sierraforest",    13, later,    16, later,    "alderlake",      "avx_ifma avx_ne_convert avx_vnni_int8 cmpccxadd enqcmd uintr", "", "", "Sierra Forest"},
    {"grandridge",      13, later,    16, later,    "sierraforest",   "rao_int", "", "", "Grand Ridge"},
    {"clearwaterforest",14, later,    18, later,    "sierraforest",   "avx_vnni_int16 prefetchi sha512 sm3 sm4 user_msr", "", "", "Clearwater Forest"},

    {"bonnell",         11, later,    13, later,    "core2",          "movbe", "", "", "Bonnell|Saltwell"},
    {"silvermont",      11, later,    13, later,    "westmere",       "movbe 3dnowprefetch rdrand", "", "", "Silvermont|Airmont"},
    {"goldmont",        11, later,    13, later,    "silvermont",     "aes clflushopt fsgsbase rdseed sha_ni xsave xsavec xsaveopt xsaves", "", "", "Goldmont"},
    {"goldmont-plus",   11, later,    13, later,    "goldmont",       "ptwrite rdpid sgx", "", "", "Goldmont Plus"},
    {"tremont",         11, later,    13, later,    "goldmont-plus",  "clwb gfni", "", "cldemote movdir64b movdiri waitpkg", "Tremont"},
    {"knl",             11, 14,       13, later,    "broadwell",      "avx512f avx512cd avx512er avx512pf prefetchwt1", "aes", "", "Knights Landing"},
    {"knm",             11, 14,       13, later,    "knl",            "avx512_4fmaps avx512_4vnniw avx512_vpopcntdq", "", "", "Knights Mill"},

    {"k8",              11, later,    13, 18,       "x86-64",         "3dnow 3dnowext", "", "", "K8"},
    {"k8-sse3",         11, later,    13, 18,       "k8",             "pni"},
    {"amdfam10",        11, later,    13, later,    "k8-sse3",        "lahf_lm abm popcnt 3dnowprefetch sse4a cx16", "", "", "K10"},
    {"btver1",          none, none,   13, later,    "x86-64",         "lahf_lm abm popcnt 3dnowprefetch pni sse4a ssse3 cx16", "", "", "Bobcat"},
    {"btver1",          11, later,    none, none,   "btver1",         "xsave", "", "", "Bobcat"},
    {"btver2",          11, later,    13, later,    "btver1",         "xsave aes avx bmi1 f16c movbe pclmulqdq sse4_1 sse4_2 xsaveopt", "", "", "Jaguar|Puma"},
    {"bdver1",          11, later,    13, later,    "x86-64",         "aes avx fma4 lahf_lm lwp abm pclmulqdq popcnt 3dnowprefetch pni sse4a sse4_1 sse4_2 ssse3 cx16 xop xsave", "", "", "Bulldozer"},
    {"bdver2",          11, later,    13, later,    "bdver1",         "bmi1 f16c fma tbm", "", "", "Piledriver"},
    {"bdver3",          11, later,    13, later,    "bdver2",         "fsgsbase xsaveopt", "", "", "Steamroller"},
    {"bdver4",          11, later,    13, later,    "bdver3",         "avx2 bmi2 movbe mwaitx rdrand", "", "", "Excavator"},
    {"znver1",          11, later,    13, later,    "x86-64-v3",      "adx aes clflushopt clzero fsgsbase mwaitx pclmulqdq 3dnowprefetch rdrand rdseed sha_ni sse4a xsavec xsaveopt xsaves", "", "", "Zen|Zen+|Moksha"},
    {"znver2",          11, later,    13, 15,       "znver1",         "clwb rdpid wbnoinvd", "", "", "Zen 2"},
    {"znver2",          none, none,   16, later,    "znver2",         "rdpru", "", "", "Zen 2"},
    {"znver3",          11, later,    13, later,    "znver2",         "pku vaes vpclmulqdq", "invpcid", "", "Zen 3|Zen 3+"},
    {"znver4",          13, later,    16, later,    "znver3",         "avx512f avx512bw avx512cd avx512dq avx512vl avx512ifma avx512vbmi avx512_bf16 avx512_bitalg avx512_vbmi2 "
                                                                      "avx512_vnni avx512_vpopcntdq gfni", "shstk", "", "Zen 4|Zen 4c"},
    {"znver5",          14, later,    19, later,    "znver4",         "avx512_vp2intersect avx_vnni movdir64b movdiri prefetchi", "", "", "Zen 5|Zen 5c"},
    {"nano",            11, later,    none, none,   "x86-64",         "lahf_lm pni ssse3"},
    {"nano-3000",       11, later,    none, none,   "nano",           "sse4_1", "", "", "Isaiah"},
};
// clang-format on

// Features that a compiler uses only where a program asks for them by name, and that can be switched off alone.
// `option` is what gcc and clang call them.
struct TargetSwitch {
    const char* feature;
    const char* option;
    bool isPrograms = true; // false: the operating system decides, and what the processor has is what counts
};

constexpr TargetSwitch targetSwitches[] = {
    {"sgx", "sgx", false},
    {"pku", "pku"},
    {"fsgsbase", "fsgsbase", false},
    {"xsaveopt", "xsaveopt"},
    {"xsavec", "xsavec"},
    {"xsaves", "xsaves", false},
    {"invpcid", "invpcid", false},
    {"wbnoinvd", "wbnoinvd", false},
    {"pconfig", "pconfig", false},
    {"enqcmd", "enqcmd", false},
    {"shstk", "shstk", false},
    {"uintr", "uintr", false},
    {"hreset", "hreset", false},
    {"user_msr", "usermsr", false},
    {"lwp", "lwp"},
    {"clzero", "clzero"},
    {"mwaitx", "mwaitx"},
    {"rdpru", "rdpru"},
    {"clflushopt", "clflushopt"},
    {"clwb", "clwb"},
    {"cldemote", "cldemote"},
    {"waitpkg", "waitpkg"},
    {"movdiri", "movdiri"},
    {"movdir64b", "movdir64b"},
    {"ptwrite", "ptwrite"},
    {"serialize", "serialize"},
    {"tsxldtrk", "tsxldtrk"},
    {"rdpid", "rdpid"},
    {"rdseed", "rdseed"},
    {"rdrand", "rdrnd"},
    {"prefetchi", "prefetchi"},
    {"rao_int", "raoint"},
    {"aeskle", "kl"},
    {"aes_wide_kl", "widekl"},
    {"amx_tile", "amx-tile"},
    {"amx_int8", "amx-int8"},
    {"amx_bf16", "amx-bf16"},
    {"amx_fp16", "amx-fp16"},
};

} // namespace quarrow
