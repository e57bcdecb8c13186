#include <libQuarrow/topology/ProcessorAffinity.h>
#include <libQuarrow/topology/ProcessorSet.h>

#include <gtest/gtest.h>

#include <random>
#include <set>

using namespace libQuarrow;
using topology::ProcessorNumbering;
using topology::ProcessorSet;

namespace {

TEST(ProcessorSet, ReadsAndWritesLists) {
    const std::pair<const char*, const char*> lists[] = {
        {"0", "0"},         {"0,4-7", "0,4-7"},       {"7,4-6,0", "0,4-7"},       {"0-3,2-9,10", "0-10"},
        {"1-9:4", "1,5,9"}, {"0-10:5,6", "0,5-6,10"}, {"4194303,0", "0,4194303"}, {"3-3", "3"},
    };
    for (const auto& [text, list] : lists) {
        const auto set = ProcessorSet::fromList(text);
        ASSERT_TRUE(set) << text;
        EXPECT_EQ(set->toList(), list) << text;
        EXPECT_EQ(ProcessorSet::fromList(list), set);
    }
    for (const char* text :
         {"", ",", "1,", "-1", "3-1", "1-3:0", "1-", "a", "0x3", "1 2", "4194304", "1-3:", "99999999999"}) {
        EXPECT_FALSE(ProcessorSet::fromList(text)) << text;
    }
}

// Against a set of numbers, one by one.
TEST(ProcessorSet, CountsAsASetOfNumbersDoes) {
    std::mt19937 random(1);
    for (unsigned int round = 0; round < 300; ++round) {
        ProcessorSet sets[2];
        std::set<std::uint32_t> numbers[2];
        for (unsigned int i = 0; i < 40; ++i) {
            const auto first = static_cast<std::uint32_t>(1 + random() % 60);
            const auto last = static_cast<std::uint32_t>(first + random() % 4) - 1; // now and then downwards
            sets[i % 2].insert(ProcessorSet::Range{first, last});
            for (std::uint32_t number = first; number <= last; ++number) {
                numbers[i % 2].insert(number);
            }
        }
        ASSERT_EQ(std::set<std::uint32_t>(sets[0].begin(), sets[0].end()), numbers[0]);
        EXPECT_EQ(sets[0].count(), numbers[0].size());
        const ProcessorSet both = sets[0] & sets[1], all = sets[0] | sets[1], rest = sets[0] - sets[1];
        for (std::uint32_t number = 0; number < 70; ++number) {
            const bool a = numbers[0].count(number) != 0, b = numbers[1].count(number) != 0;
            EXPECT_EQ(sets[0].contains(number), a);
            EXPECT_EQ(both.contains(number), a && b);
            EXPECT_EQ(all.contains(number), a || b);
            EXPECT_EQ(rest.contains(number), a && !b);
        }
        EXPECT_TRUE(all.contains(sets[0]) && sets[0].contains(both));
        EXPECT_EQ(ProcessorSet::fromList(all.toList()), all);
    }
    EXPECT_FALSE(ProcessorSet().first());
}

// Linux numbers 64 in a group whether they are there or not; Windows goes on with the next group.
TEST(ProcessorNumbering, GoesByGroupsOfSixtyFourOrByTheirOrder) {
    const ProcessorSet set{0, 5, 64, 130};
    const auto fixed = topology::affinityOf(set, ProcessorNumbering());
    EXPECT_EQ(fixed.toString(), "0:0000000000000021h/1:0000000000000001h/2:0000000000000004h");
    EXPECT_EQ(topology::processorsOf(fixed, ProcessorNumbering()), set);

    const ProcessorNumbering byGroups({{0, 0x3F}, {2, 0xB}}); // a hole uses up a number
    EXPECT_EQ(byGroups.number(2, 0), 6U);
    EXPECT_EQ(byGroups.number(2, 3), 9U);
    EXPECT_FALSE(byGroups.number(1, 0) || byGroups.number(2, 4));
    EXPECT_FALSE(byGroups.place(10));
    const auto ordered = topology::affinityOf({5, 6, 9, 10}, byGroups);
    EXPECT_EQ(ordered.toString(), "0:0000000000000020h/2:0000000000000009h");
    EXPECT_EQ(topology::processorsOf(ordered, byGroups), (ProcessorSet{5, 6, 9}));
}

} // namespace
