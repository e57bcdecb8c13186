#pragma once

#include <tools/quarrow/fleet/CompilerTargets.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

// What the compilers of this machine say about their targets. None on a machine without them.

namespace testing_support {

struct InstalledCompiler {
    std::string command;
    quarrow::Compiler compiler;
    unsigned int version;
};

#ifndef _WIN32

inline std::string outputOf(const std::string& command) {
    std::string text;
    if (std::FILE* const pipe = popen((command + " 2>/dev/null").c_str(), "r")) {
        char buffer[4096];
        for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe)) != 0;) {
            text.append(buffer, count);
        }
        pclose(pipe);
    }
    return text;
}

#else

inline std::string outputOf(const std::string&) {
    return {};
}

#endif

// gcc and clang by those names, and with the versions that the tables tell apart behind them. None where sanitizers
// look at this program: it would ask them all the same, slowly, and is not what they would find anything in.
inline std::vector<InstalledCompiler> installedCompilers() {
    std::vector<InstalledCompiler> found;
#ifdef QUARROW_SANITIZED
    return found;
#endif
    for (const quarrow::Compiler compiler : {quarrow::Compiler::gcc, quarrow::Compiler::clang}) {
        std::set<unsigned int> versions;
        std::vector<std::string> commands = {nameOf(compiler)};
        for (unsigned int n = firstVersion(compiler); n <= lastVersion(compiler); ++n) {
            commands.push_back(commands.front() + "-" + std::to_string(n));
        }
        for (const std::string& command : commands) {
            const auto version =
                static_cast<unsigned int>(std::strtoul(outputOf(command + " -dumpversion").c_str(), nullptr, 10));
            if (version >= firstVersion(compiler) && versions.insert(version).second) {
                found.push_back({command, compiler, version});
            }
        }
    }
    return found;
}

// The macros that it defines as 1 or more with these flags, "__AVX2__" as "AVX2". Empty where it refuses them.
inline std::set<std::string> macrosOf(const InstalledCompiler& compiler, const std::string& flags) {
    std::istringstream lines(outputOf(compiler.command + " " + flags + " -dM -E -x c /dev/null"));
    std::set<std::string> names;
    for (std::string define, name, value; lines >> define >> name && std::getline(lines, value);) {
        const bool isFramed = name.size() > 4 && name.substr(0, 2) == "__" && name.substr(name.size() - 2) == "__";
        names.insert(isFramed ? name.substr(2, name.size() - 4) : name);
    }
    return names;
}

// The macros that stand for an instruction set, and what each needs, as the makers' manuals and /proc/cpuinfo call it.
inline const std::map<std::string, std::string>& featureMacros() {
    static const std::map<std::string, std::string> macros = {
        {"x86_64", "lm"},
        {"MMX", "mmx"},
        {"FXSR", "fxsr"},
        {"SSE", "sse"},
        {"SSE2", "sse2"},
        {"SSE3", "pni"},
        {"SSSE3", "ssse3"},
        {"SSE4_1", "sse4_1"},
        {"SSE4_2", "sse4_2"},
        {"SSE4A", "sse4a"},
        {"POPCNT", "popcnt"},
        {"CRC32", "sse4_2"},
        {"3dNOW", "3dnow"},
        {"3dNOW_A", "3dnowext"},
        {"LAHF_SAHF", "lahf_lm"},
        {"GCC_HAVE_SYNC_COMPARE_AND_SWAP_8", "cx8"},
        {"GCC_HAVE_SYNC_COMPARE_AND_SWAP_16", "cx16"},
        {"AES", "aes"},
        {"PCLMUL", "pclmulqdq"},
        {"VAES", "vaes"},
        {"VPCLMULQDQ", "vpclmulqdq"},
        {"GFNI", "gfni"},
        {"SHA", "sha_ni"},
        {"SHA512", "sha512"},
        {"SM3", "sm3"},
        {"SM4", "sm4"},
        {"AVX", "avx"},
        {"AVX2", "avx2"},
        {"FMA", "fma"},
        {"FMA4", "fma4"},
        {"XOP", "xop"},
        {"TBM", "tbm"},
        {"LWP", "lwp"},
        {"F16C", "f16c"},
        {"BMI", "bmi1"},
        {"BMI2", "bmi2"},
        {"LZCNT", "abm"},
        {"ABM", "abm"},
        {"MOVBE", "movbe"},
        {"ADX", "adx"},
        {"RDRND", "rdrand"},
        {"RDSEED", "rdseed"},
        {"PRFCHW", "3dnowprefetch"},
        {"PREFETCHWT1", "prefetchwt1"},
        {"PREFETCHI", "prefetchi"},
        {"FSGSBASE", "fsgsbase"},
        {"INVPCID", "invpcid"},
        {"PKU", "pku"},
        {"SGX", "sgx"},
        {"XSAVE", "xsave"},
        {"XSAVEOPT", "xsaveopt"},
        {"XSAVEC", "xsavec"},
        {"XSAVES", "xsaves"},
        {"CLFLUSHOPT", "clflushopt"},
        {"CLWB", "clwb"},
        {"CLZERO", "clzero"},
        {"MWAITX", "mwaitx"},
        {"RDPID", "rdpid"},
        {"RDPRU", "rdpru"},
        {"WBNOINVD", "wbnoinvd"},
        {"PCONFIG", "pconfig"},
        {"ENQCMD", "enqcmd"},
        {"SHSTK", "shstk"},
        {"UINTR", "uintr"},
        {"HRESET", "hreset"},
        {"PTWRITE", "ptwrite"},
        {"CLDEMOTE", "cldemote"},
        {"WAITPKG", "waitpkg"},
        {"MOVDIRI", "movdiri"},
        {"MOVDIR64B", "movdir64b"},
        {"SERIALIZE", "serialize"},
        {"TSXLDTRK", "tsxldtrk"},
        {"KL", "aeskle"},
        {"WIDEKL", "aes_wide_kl"},
        {"USERMSR", "user_msr"},
        {"USER_MSR", "user_msr"},
        {"RTM", "rtm"},
        {"HLE", "hle"},
        {"RAOINT", "rao_int"},
        {"CMPCCXADD", "cmpccxadd"},
        {"AVXVNNI", "avx_vnni"},
        {"AVXIFMA", "avx_ifma"},
        {"AVXNECONVERT", "avx_ne_convert"},
        {"AVXVNNIINT8", "avx_vnni_int8"},
        {"AVXVNNIINT16", "avx_vnni_int16"},
        {"AVX512F", "avx512f"},
        {"AVX512CD", "avx512cd"},
        {"AVX512BW", "avx512bw"},
        {"AVX512DQ", "avx512dq"},
        {"AVX512VL", "avx512vl"},
        {"AVX512IFMA", "avx512ifma"},
        {"AVX512VBMI", "avx512vbmi"},
        {"AVX512VBMI2", "avx512_vbmi2"},
        {"AVX512VNNI", "avx512_vnni"},
        {"AVX512BITALG", "avx512_bitalg"},
        {"AVX512VPOPCNTDQ", "avx512_vpopcntdq"},
        {"AVX512VP2INTERSECT", "avx512_vp2intersect"},
        {"AVX512BF16", "avx512_bf16"},
        {"AVX512FP16", "avx512_fp16"},
        {"AVX512ER", "avx512er"},
        {"AVX512PF", "avx512pf"},
        {"AVX5124FMAPS", "avx512_4fmaps"},
        {"AVX5124VNNIW", "avx512_4vnniw"},
        {"AMX_TILE", "amx_tile"},
        {"AMXTILE", "amx_tile"},
        {"AMX_INT8", "amx_int8"},
        {"AMXINT8", "amx_int8"},
        {"AMX_BF16", "amx_bf16"},
        {"AMXBF16", "amx_bf16"},
        {"AMX_FP16", "amx_fp16"},
        {"AMXFP16", "amx_fp16"},
        {"AMX_COMPLEX", "amx_complex"},
        {"AMX_FP8", "amx_fp8"},
        {"APX_F", "apx_f"},
    };
    return macros;
}

// The features that its macros name with these flags, and "accepted" where it takes them. A macro that the least target
// has not and that stands neither above nor among the others is unknown, so that a new instruction set is noticed.
inline std::set<std::string> featuresIn(const InstalledCompiler& compiler, const std::string& flags,
                                        std::set<std::string>& unknown) {
    static const std::set<std::string> others = {"MMX_WITH_SSE", "FLOAT128", "EVEX512",
                                                 "EVEX256",      "SSE_MATH", "SSE2_MATH"};
    static std::map<std::string, std::set<std::string>> least;
    const bool is32Bit = flags.find("-m32") != std::string::npos;
    const std::string leastFlags = is32Bit ? "-m32 -march=i386" : "-march=x86-64";
    std::set<std::string>& leastMacros = least[compiler.command + leastFlags];
    if (leastMacros.empty()) {
        leastMacros = macrosOf(compiler, leastFlags);
    }
    const std::set<std::string> macros = macrosOf(compiler, flags);
    std::set<std::string> features;
    if (!macros.empty()) {
        features.insert("accepted");
    }
    for (const std::string& macro : macros) {
        const auto found = featureMacros().find(macro);
        if (is32Bit && macro == "LAHF_SAHF") {
            continue; // the flag is about 64-bit mode, where the first processors had no LAHF
        }
        if (found != featureMacros().end()) {
            features.insert(found->second);
        } else if (leastMacros.count(macro) == 0 && others.count(macro) == 0 &&
                   macro.find_first_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos &&
                   macro.find("FLT16") == std::string::npos && macro.find("FP_FAST") == std::string::npos &&
                   macro.find("ATOMIC") == std::string::npos && macro.find("SYNC_COMPARE") == std::string::npos) {
            unknown.insert(macro); // those with small letters are names of targets
        }
    }
    return features;
}

} // namespace testing_support
