#include <libQuarrow/topology/features/FeatureDetection.h>
#include <libQuarrow/topology/features/isa.h>
#include <libQuarrow/topology/features/usable_features.h>
#include <tests/support/LiteralReader.h>

#include <gtest/gtest.h>

#include <algorithm>

using namespace libQuarrow::topology;

namespace {

constexpr std::uint32_t osxsave = 1U << 27; // leaf 1 ECX

FeatureSet setOf(std::initializer_list<std::string_view> names) {
    FeatureSet set;
    for (const std::string_view name : names) {
        set.insert(Feature{name});
    }
    return set;
}

std::string text(const FeatureSet& set) {
    std::string joined;
    for (const std::string_view name : set.names()) {
        joined += (joined.empty() ? "" : " ") + std::string(name);
    }
    return joined;
}

TEST(Features, AreReadWhereTheProcessorHasTheLeaf) {
    const struct {
        const char* vendor;
        std::uint32_t maximum;
        std::uint32_t extendedMaximum;
        std::vector<Leaf> leaves;
        const char* features;
    } cases[] = {
        {"GenuineIntel", 1, 0, {{1, 0, {0, 0, 1, 1}}}, "pni fpu"},
        // One feature in two fields, and a name that only AMD's leaf has.
        {"AuthenticAMD", 1, 0x80000001, {{1, 0, {0, 0, 0, 1}}, {0x80000001, 0, {0, 0, 1U << 5, 1}}}, "fpu abm"},
        // A sub-leaf past the last one of leaf 7 is not asked; the reader answers it with zeros, the leaf with ones.
        {"GenuineIntel", 7, 0, {{7, 0, {0, 1U << 5, 0, 0}}, {7, 1, {1U << 4, 0, 0, 0}}}, "avx2"},
        {"GenuineIntel", 7, 0, {{7, 0, {1, 1U << 5, 0, 0}}, {7, 1, {1U << 4, 0, 0, 0}}}, "avx2 avx_vnni"},
        // A leaf that another one has to announce, by which a sub-leaf is announced in turn.
        {"GenuineIntel", 0x10, 0, {{0x10, 0, {0, 2, 0, 0}}, {0x10, 1, {0, 0, 4, 0}}}, ""},
        {"GenuineIntel", 0x10, 0, {{7, 0, {0, 1U << 15, 0, 0}}, {0x10, 1, {0, 0, 4, 0}}}, "rdt_a"},
        {"GenuineIntel",
         0x10,
         0,
         {{7, 0, {0, 1U << 15, 0, 0}}, {0x10, 0, {0, 2, 0, 0}}, {0x10, 1, {0, 0, 4, 0}}, {0x10, 2, {0, 0, 4, 0}}},
         "rdt_a cat_l3 cdp_l3"},
        // VIA's own range, which an Intel processor answers with its highest leaf. (The reader answers what is above
        // the extended maximum with ones.)
        {"CentaurHauls",
         1,
         0xFFFFFFFF,
         {{0xC0000000, 0, {0xC0000001, 0, 0, 0}}, {0xC0000001, 0, {0, 0, 0, 0xC0}}},
         "ace ace_en"},
        {"GenuineIntel", 1, 0xFFFFFFFF, {{0xC0000000, 0, {0xC0000001, 0, 0, 0}}, {0xC0000001, 0, {0, 0, 0, 0xC0}}}, ""},
    };
    for (const auto& row : cases) {
        LiteralReader cpuid(row.vendor, row.maximum, row.extendedMaximum, {});
        for (const Leaf& leaf : row.leaves) {
            cpuid.set(leaf);
        }
        EXPECT_EQ(text(featuresOf(cpuid)), row.features) << row.vendor;
    }
}

// What the operating system does not save a program cannot use.
TEST(Features, AreUsableWithTheStateOfXcr0) {
    const FeatureSet all = setOf({"osxsave", "xsave", "sse2", "avx", "vaes", "avx512f", "amx_tile", "apx_f", "pku",
                                  "vmx", "ace", "ace2", "ace2_en"});
    const struct {
        std::uint64_t xcr0;
        const char* usable;
    } cases[] = {
        {0x0, "sse2 xsave ace2"},
        {0x3, "sse2 xsave ace2"},
        {0x7, "xsave avx sse2 vaes ace2"},
        {0xE3, "sse2 xsave ace2"}, // AVX-512's state without AVX's
        {0xE7, "xsave avx sse2 avx512f vaes ace2"},
        {0x200E7, "xsave avx sse2 avx512f vaes ace2"}, // the tile configuration without the tiles
        {0xE02E7, "xsave avx sse2 avx512f vaes amx_tile apx_f ace2"},
    };
    for (const auto& row : cases) {
        LiteralReader cpuid("GenuineIntel", 1, 0, {{1, 0, {0, 0, osxsave, 0}}});
        cpuid.enabledState = row.xcr0;
        FeatureSet expected;
        for (const char* name : {"xsave", "avx", "sse2", "avx512f", "vaes", "amx_tile", "apx_f", "ace2"}) {
            if ((' ' + std::string(row.usable) + ' ').find(' ' + std::string(name) + ' ') != std::string::npos) {
                expected.insert(Feature{name});
            }
        }
        EXPECT_EQ(text(usableOf(all, cpuid)), text(expected)) << std::hex << row.xcr0;
    }
    LiteralReader cpuid("GenuineIntel", 1, 0, {{1, 0, {0, 0, osxsave, 0}}});
    cpuid.enabledState = 0x2E7;
    EXPECT_TRUE(usableOf(all | setOf({"ospke"}), cpuid).contains("pku"));
    // XGETBV is not executed where the operating system has not enabled it: the state counts as none.
    EXPECT_FALSE(usableOf(setOf({"avx"}), cpuid).contains("avx"));
}

TEST(Features, MakeUpTheLevels) {
    FeatureSet usable;
    const auto level = [&usable] { return levelOf(usable).value_or(0); };
    const struct {
        unsigned int level;
        std::initializer_list<std::string_view> needed;
    } levels[] = {
        {1, {"lm", "cmov", "cx8", "fpu", "fxsr", "mmx", "sse", "sse2"}},
        {2, {"cx16", "lahf_lm", "popcnt", "pni", "sse4_1", "sse4_2", "ssse3"}},
        {3, {"avx", "avx2", "bmi1", "bmi2", "f16c", "fma", "abm", "movbe", "xsave"}},
        {4, {"avx512f", "avx512bw", "avx512cd", "avx512dq", "avx512vl"}},
    };
    for (const auto& row : levels) {
        for (const std::string_view missing : row.needed) {
            const FeatureSet others = usable | setOf(row.needed);
            EXPECT_EQ(levelOf(others - setOf({missing})).value_or(0), row.level - 1) << missing;
        }
        usable = usable | setOf(row.needed);
        EXPECT_EQ(level(), row.level);
    }
}

TEST(Features, AreSets) {
    const FeatureSet a = setOf({"fpu", "avx2", "3dnow"});
    const FeatureSet b = setOf({"avx2", "no_such_flag"});
    EXPECT_EQ(text(a | b), "fpu avx2 3dnow");
    EXPECT_EQ(text(a & b), "avx2");
    EXPECT_EQ(text(a - b), "fpu 3dnow");
    EXPECT_EQ(a - a, FeatureSet());
    EXPECT_EQ(b.count(), 1u);
    EXPECT_TRUE(a.containsAll(b));
    EXPECT_FALSE(b.containsAll(a));
    EXPECT_TRUE(a.contains(isa::avx2));
    EXPECT_FALSE(a.contains("no_such_flag"));
    EXPECT_EQ(FeatureSet::meaningOf("rdseed"), "RDSEED: seeds of random numbers");
}

// A name that no table knows would never be found.
TEST(Features, OfProgramsAreKnown) {
    for (const UsableFeature& row : usableFeatures) {
        EXPECT_TRUE(FeatureSet::isKnown(row.name)) << row.name;
        EXPECT_TRUE(row.enabledBy == nullptr || FeatureSet::isKnown(row.enabledBy)) << row.enabledBy;
    }
    using namespace isa;
    for (const Feature feature : {cmov,
                                  cx8,
                                  cx16,
                                  mmx,
                                  sse,
                                  sse2,
                                  sse3,
                                  ssse3,
                                  sse4_1,
                                  sse4_2,
                                  sse4a,
                                  popcnt,
                                  lzcnt,
                                  bmi1,
                                  bmi2,
                                  adx,
                                  movbe,
                                  tbm,
                                  aes,
                                  vaes,
                                  pclmul,
                                  vpclmulqdq,
                                  gfni,
                                  sha,
                                  sha512,
                                  sm3,
                                  sm4,
                                  rdrand,
                                  rdseed,
                                  avx,
                                  avx2,
                                  f16c,
                                  isa::fma, // <cmath> has another
                                  fma4,
                                  xop,
                                  avx_vnni,
                                  avx_vnni_int8,
                                  avx_vnni_int16,
                                  avx_ifma,
                                  avx_ne_convert,
                                  avx512f,
                                  avx512cd,
                                  avx512bw,
                                  avx512dq,
                                  avx512vl,
                                  avx512_ifma,
                                  avx512_vbmi,
                                  avx512_vbmi2,
                                  avx512_vnni,
                                  avx512_bitalg,
                                  avx512_vpopcntdq,
                                  avx512_vp2intersect,
                                  avx512_bf16,
                                  avx512_fp16,
                                  avx10,
                                  amx_tile,
                                  amx_int8,
                                  amx_bf16,
                                  amx_fp16,
                                  amx_complex,
                                  apx,
                                  rtm,
                                  clflushopt,
                                  clwb,
                                  movdiri,
                                  movdir64b,
                                  waitpkg,
                                  serialize,
                                  cmpccxadd,
                                  rdtscp,
                                  rdpid,
                                  prefetchw}) {
        const auto usable = [feature](const UsableFeature& row) { return feature.name == row.name; };
        EXPECT_TRUE(std::any_of(std::begin(usableFeatures), std::end(usableFeatures), usable)) << feature.name;
    }
}

} // namespace
