#include <libQuarrow/cpu/x86/decode/CpuidReader.h>

#include <gtest/gtest.h>
#include <tests/support/LiteralReader.h>

using namespace libQuarrow::cpu;

namespace {

TEST(CpuidReader, is_asked_only_for_leaves_of_a_range_that_reaches_them) {
    LiteralReader literal("GenuineIntel", 4, 0x80000006, {{4, 1, {41, 0, 0, 0}}, {0x80000006, 0, {86, 0, 0, 0}}});
    RememberingCpuidReader remembering(literal);
    const struct {
        std::uint32_t leaf, subleaf, eax; // 9: not there
    } cases[] = {{4, 1, 41}, {4, 0, 0}, {5, 0, 9}, {0x80000006, 0, 86}, {0x80000007, 0, 9}, {0x40000000, 0, 9}};
    for (CpuidReader* reader : {static_cast<CpuidReader*>(&literal), static_cast<CpuidReader*>(&remembering)}) {
        for (const auto& test : cases) {
            cpuid_args answer{9, 0, 0, 0};
            EXPECT_EQ(reader->ask(test.leaf, test.subleaf, answer), test.eax != 9) << std::hex << test.leaf;
            EXPECT_EQ(answer.eax, test.eax);
        }
    }
    literal.executions = 0;
    cpuid_args answer;
    EXPECT_TRUE(remembering.ask(4, 1, answer) && !remembering.ask(5, 0, answer));
    EXPECT_EQ(remembering.read(4, 1).eax, 41u);
    EXPECT_EQ(remembering.read(5, 0), cpuid_args()) << "not what is above the highest leaf";
    EXPECT_EQ(literal.executions, 0u);
}

TEST(CpuidReader, that_remembers_tells_any_number_of_leaves_apart) {
    std::vector<std::pair<std::uint32_t, std::uint32_t>> asked;
    LiteralReader literal("GenuineIntel", 0x40, 0x80000040, {});
    for (const std::uint32_t range : {0u, 0x80000000u}) {
        for (std::uint32_t leaf = range + 1; leaf <= range + 0x40; ++leaf) {
            for (const std::uint32_t subleaf : {0u, 1u, 64u}) {
                literal.set({leaf, subleaf, {leaf, subleaf, 0, 0}});
                asked.emplace_back(leaf, subleaf);
            }
        }
    }
    RememberingCpuidReader remembering(literal);
    for (int pass = 0; pass < 2; ++pass) {
        for (const auto& [leaf, subleaf] : asked) {
            EXPECT_EQ(remembering.read(leaf, subleaf), (cpuid_args{leaf, subleaf, 0, 0})) << std::hex << leaf;
        }
        EXPECT_EQ(literal.executions, asked.size());
    }
}

} // namespace
