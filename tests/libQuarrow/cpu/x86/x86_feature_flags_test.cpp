#include <libQuarrow/cpu/x86/x86_feature_flags.h>

#include <gtest/gtest.h>

using namespace libQuarrow::cpu;

namespace {

x86_feature_flags setOf(std::initializer_list<unsigned int> values) {
    x86_feature_flags set;
    for (const unsigned int value : values) {
        set |= static_cast<x86_cpu_features>(value);
    }
    return set;
}

TEST(FeatureFlags, Text) {
    const std::pair<x86_feature_flags, const char*> cases[] = {
        {{}, ""},
        {setOf({31, 32, 64, 125}), "MSR, TSC, ERMS, FP128"},
        {setOf({124}), ""}, // has no name
        {setOf({126, 255}), ""},
        // AMD's copies of older features go by the same names.
        {setOf({25, 74}), "MTRR, MTRR"},
    };
    for (const auto& [set, text] : cases) {
        EXPECT_EQ(set.toString(), zel::String(text));
    }
    EXPECT_EQ(x86_feature_flags::toString(x86_feature_unnamed124), nullptr);
    EXPECT_EQ(x86_feature_flags::toString(static_cast<x86_cpu_features>(126)), nullptr);
}

TEST(FeatureFlags, Sets) {
    const x86_feature_flags a = setOf({0, 33, 255});
    const x86_feature_flags b = setOf({33, 64});
    EXPECT_TRUE((a | b) == setOf({0, 33, 64, 255}) && (a & b) == setOf({33}));
    EXPECT_FALSE(a == setOf({0, 33})) << "the last word counts too";
    x86_feature_flags c = a;
    c.removeFeature(x86_feature_CPUID);
    EXPECT_TRUE(c == setOf({33, 255}) && a.hasFeature(x86_feature_CPUID));
    c.clear();
    EXPECT_TRUE(c == x86_feature_flags());
}

} // namespace
