// The features of the processor that this runs on, against what the kernel, the compiler and the dynamic loader say.

#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/topology/features/FeatureDetection.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>

using namespace libQuarrow::topology;

namespace {

FeatureSet liveFeatures() {
    libQuarrow::cpu::LiveCpuidReader cpuid;
    return featuresOf(cpuid);
}

FeatureSet liveUsable() {
    libQuarrow::cpu::LiveCpuidReader cpuid;
    return usableOf(featuresOf(cpuid), cpuid);
}

// Names that Linux makes up of registers, of several flags, or of what it knows itself (Linux, cpufeatures.h: the words
// that no CPUID leaf fills).
const std::set<std::string> madeUp = {"rep_good",
                                      "constant_tsc",
                                      "up",
                                      "art",
                                      "arch_perfmon",
                                      "pebs",
                                      "bts",
                                      "nopl",
                                      "xtopology",
                                      "tsc_reliable",
                                      "cpuid",
                                      "amd_dcm",
                                      "tsc_known_freq",
                                      "cpuid_fault",
                                      "ssbd",
                                      "ibrs",
                                      "ibpb",
                                      "stibp",
                                      "ibrs_enhanced",
                                      "tpr_shadow",
                                      "flexpriority",
                                      "ept",
                                      "vpid",
                                      "ept_ad",
                                      "vnmi",
                                      "vmmcall",
                                      "extd_apicid",
                                      "nonstop_tsc_s3",
                                      "tdx_guest",
                                      "split_lock_detect",
                                      "user_shstk"};

TEST(LiveFeatures, HoldEveryFlagOfTheKernel) {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line) && line.compare(0, 5, "flags") != 0) {
    }
    std::istringstream words(line.substr(std::min(line.size(), line.find(':') + 1)));
    const FeatureSet features = liveFeatures();
    std::size_t compared = 0;
    for (std::string flag; words >> flag;) {
        if (madeUp.count(flag) == 0) {
            EXPECT_TRUE(features.contains(flag)) << flag;
            ++compared;
        }
    }
    EXPECT_GT(compared, 20u);
}

TEST(LiveFeatures, AgreeWithTheCompiler) {
    const FeatureSet usable = liveUsable();
    __builtin_cpu_init();
// The builtin takes a literal only.
#define AGREES(gcc, ours) EXPECT_EQ(__builtin_cpu_supports(gcc) != 0, usable.contains(ours)) << ours
    AGREES("cmov", "cmov");
    AGREES("mmx", "mmx");
    AGREES("popcnt", "popcnt");
    AGREES("sse", "sse");
    AGREES("sse2", "sse2");
    AGREES("sse3", "pni");
    AGREES("ssse3", "ssse3");
    AGREES("sse4.1", "sse4_1");
    AGREES("sse4.2", "sse4_2");
    AGREES("avx", "avx");
    AGREES("avx2", "avx2");
    AGREES("sse4a", "sse4a");
    AGREES("fma4", "fma4");
    AGREES("xop", "xop");
    AGREES("fma", "fma");
    AGREES("avx512f", "avx512f");
    AGREES("bmi", "bmi1");
    AGREES("bmi2", "bmi2");
    AGREES("aes", "aes");
    AGREES("pclmul", "pclmulqdq");
    AGREES("avx512vl", "avx512vl");
    AGREES("avx512bw", "avx512bw");
    AGREES("avx512dq", "avx512dq");
    AGREES("avx512cd", "avx512cd");
    AGREES("avx512er", "avx512er");
    AGREES("avx512pf", "avx512pf");
    AGREES("avx512vbmi", "avx512vbmi");
    AGREES("avx512ifma", "avx512ifma");
    AGREES("avx5124vnniw", "avx512_4vnniw");
    AGREES("avx5124fmaps", "avx512_4fmaps");
    AGREES("avx512vpopcntdq", "avx512_vpopcntdq");
    AGREES("avx512vbmi2", "avx512_vbmi2");
    AGREES("gfni", "gfni");
    AGREES("vpclmulqdq", "vpclmulqdq");
    AGREES("avx512vnni", "avx512_vnni");
    AGREES("avx512bitalg", "avx512_bitalg");
#undef AGREES
}

// "  x86-64-v3 (supported, searched)" among what the dynamic loader tells of itself.
TEST(LiveFeatures, MakeUpTheLevelThatTheLoaderSearches) {
    FILE* loader = popen("/lib64/ld-linux-x86-64.so.2 --help 2>/dev/null", "r");
    ASSERT_NE(loader, nullptr);
    unsigned int highest = 1;
    char line[256];
    bool told = false;
    while (std::fgets(line, sizeof line, loader) != nullptr) {
        unsigned int level = 0;
        char state[32] = "";
        if (std::sscanf(line, " x86-64-v%u (%31[a-z]", &level, state) >= 1) {
            told = true;
            highest = std::string(state) == "supported" ? std::max(highest, level) : highest;
        }
    }
    pclose(loader);
    if (!told) {
        GTEST_SKIP() << "this loader tells no levels";
    }
    EXPECT_EQ(levelOf(liveUsable()), highest);
}

} // namespace
