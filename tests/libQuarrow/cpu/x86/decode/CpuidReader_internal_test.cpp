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

} // namespace
