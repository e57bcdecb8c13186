// The C interface: no mistake of a program makes it crash, and each is told.

#include <tests/c/Owned.h>

#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

using namespace quarrow_c_tests;

namespace {

TEST(CInterface, KeepsEachThreadsFailure) {
    quarrow_error_clear();
    EXPECT_EQ(quarrow_error_code(), QUARROW_OK);
    EXPECT_STREQ(quarrow_error_text(), "");
    EXPECT_EQ(quarrow_machine_load("/no/such/file", 0), nullptr);
    EXPECT_EQ(quarrow_error_code(), QUARROW_ERROR_INPUT);
    const std::string text = quarrow_error_text();
    EXPECT_EQ(text.substr(0, 14), "/no/such/file:");
    std::thread([] { EXPECT_EQ(quarrow_error_code(), QUARROW_OK); }).join();
    EXPECT_EQ(quarrow_set_count(setOf("1").get()), 1u);
    EXPECT_EQ(quarrow_error_text(), text); // a call that succeeds leaves it
    // Too long for what is kept: cut, but not within a character.
    const std::string name = std::string(510, 'x') + "\xC3\xA4\n";
    EXPECT_EQ(quarrow_machine_parse("?", 1, name.c_str(), 0), nullptr);
    EXPECT_EQ(quarrow_error_text(), std::string(510, 'x'));
}

// Every call with what it must refuse.
TEST(CInterface, RefusesBadArguments) {
    const auto machine = load("intel-2p-smt.txt");
    const quarrow_machine* const m = machine.get();
    const auto set = setOf("0");
    const quarrow_set* const s = set.get();
    const Owned<quarrow_set> changed(quarrow_set_new());
    quarrow_processor processor;
    quarrow_cache cache;
    quarrow_tlb tlb;
    quarrow_left_out leftOut;
    quarrow_speed speed;
    quarrow_limits limits;
    quarrow_hypervisor hypervisor;
    quarrow_leaf leaf;
    quarrow_leaf_field field;
    const auto withLeaves = load("intel-2p-smt.txt", QUARROW_WITH_LEAVES);
    const Owned<quarrow_leaves> own(quarrow_leaves_of(withLeaves.get(), 0));
    const quarrow_leaves* const leaves = own.get();
    constexpr std::size_t much = SIZE_MAX;
    const std::function<bool()> calls[] = {
        [] { return quarrow_machine_native(0x80) == nullptr; },
        [] { return quarrow_machine_load(nullptr, 0) == nullptr; },
        [] { return quarrow_machine_load(machineFile("intel-2p-smt.txt").c_str(), 64) == nullptr; },
        [] { return quarrow_machine_parse(nullptr, 0, nullptr, 0) == nullptr; },
        [] { return quarrow_machine_is_recorded(nullptr) == 0; },
        [] { return quarrow_machine_json(nullptr) == nullptr; },
        [] { return quarrow_machine_record(nullptr) == nullptr; },
        [] { return quarrow_machine_record_to(nullptr, "x") == QUARROW_ERROR_ARGUMENT; },
        [&] { return quarrow_machine_record_to(m, nullptr) == QUARROW_ERROR_ARGUMENT; },
        [] { return quarrow_machine_count(nullptr, QUARROW_CORES) == 0; },
        [&] { return quarrow_machine_count(m, 11) == 0; },
        [&] { return quarrow_machine_object_number(m, QUARROW_CORES, 4) == QUARROW_NONE; },
        [] { return quarrow_machine_level(nullptr) == 0; },
        [] { return quarrow_machine_find(nullptr, 0) == QUARROW_NONE; },
        [&] { return quarrow_machine_processor(nullptr, 0, &processor, sizeof processor) != QUARROW_OK; },
        [&] { return quarrow_machine_processor(m, 8, &processor, sizeof processor) != QUARROW_OK; },
        [&] { return quarrow_machine_processor(m, 0, nullptr, sizeof processor) != QUARROW_OK; },
        [&] { return quarrow_machine_cache(m, much, &cache, sizeof cache) != QUARROW_OK; },
        [&] { return quarrow_machine_tlb(m, much, &tlb, sizeof tlb) != QUARROW_OK; },
        [&] { return quarrow_machine_left_out(m, 0, &leftOut, sizeof leftOut) != QUARROW_OK; },
        [&] { return quarrow_processor_cache(m, 0, 99, nullptr, nullptr) != QUARROW_OK; },
        [&] { return quarrow_processor_cache(m, 99, 0, nullptr, nullptr) != QUARROW_OK; },
        [&] { return quarrow_processor_speed(m, 99, &speed, sizeof speed) != QUARROW_OK; },
        [&] { return quarrow_processor_limits(nullptr, 0, &limits, sizeof limits) != QUARROW_OK; },
        [&] { return quarrow_processor_performance_state(nullptr, 0, 0, nullptr, nullptr) != QUARROW_OK; },
        [&] { return quarrow_processor_turbo_ratio(nullptr, 0, 0, nullptr, nullptr) != QUARROW_OK; },
        [] { return quarrow_machine_msr_refusal(nullptr) == nullptr; },
        [] { return quarrow_machine_native_of(64, nullptr) == nullptr; },
        [&] { return quarrow_processor_further_hypervisor(m, 0, 99, &hypervisor, sizeof hypervisor) != QUARROW_OK; },
        [] { return quarrow_leaves_of(nullptr, 0) == nullptr; },
        [&] { return quarrow_leaves_of(withLeaves.get(), 99) == nullptr; },
        [] { return quarrow_leaves_count(nullptr) == 0; },
        [] { return quarrow_leaves_find(nullptr, 0, 0) == QUARROW_NONE; },
        [&] { return quarrow_leaves_answer(leaves, much, &leaf, sizeof leaf) != QUARROW_OK; },
        [&] { return quarrow_leaves_answer(leaves, 0, nullptr, sizeof leaf) != QUARROW_OK; },
        [&] { return quarrow_leaves_field(leaves, much, 0, &field, sizeof field) != QUARROW_OK; },
        [&] { return quarrow_leaves_field(leaves, 0, much, &field, sizeof field) != QUARROW_OK; },
        [] { return quarrow_register_name(4) == nullptr; },
        [] { return quarrow_field_kind_name(4) == nullptr; },
        [] { return quarrow_kind_name(3) == nullptr; },
        [] { return quarrow_cache_type_name(4) == nullptr; },
        [] { return quarrow_tlb_type_name(5) == nullptr; },
        [&] { return quarrow_processor_has(m, 0, QUARROW_FEATURE_PREFETCHW + 1) == 0; },
        [&] { return quarrow_processor_can_use(m, 99, QUARROW_FEATURE_AVX2) == 0; },
        [&] { return quarrow_processor_has_named(m, 0, "no such feature") == 0; },
        [&] { return quarrow_processor_can_use_named(m, 0, nullptr) == 0; },
        [] { return quarrow_processor_features(nullptr, 0, 0) == nullptr; },
        [] { return quarrow_feature_name(QUARROW_NONE) == nullptr; },
        [] { return quarrow_feature_at(quarrow_feature_count()) == nullptr; },
        [] { return quarrow_feature_meaning("no such feature") == nullptr; },
        [] { return quarrow_set_from_list(nullptr) == nullptr; },
        [&] { return quarrow_set_from_affinity(m, nullptr) == nullptr; },
        [] { return quarrow_set_from_affinity(nullptr, "0:1h") == nullptr; },
        [] { return quarrow_set_copy(nullptr) == nullptr; },
        [] { return quarrow_set_add(nullptr, 0, 0) != QUARROW_OK; },
        [&] { return quarrow_set_union(s, nullptr) == nullptr; },
        [&] { return quarrow_set_intersection(nullptr, s) == nullptr; },
        [] { return quarrow_set_difference(nullptr, nullptr) == nullptr; },
        [] { return quarrow_set_count(nullptr) == 0; },
        [] { return quarrow_set_contains(nullptr, 0) == 0; },
        [&] { return quarrow_set_includes(s, nullptr) == 0; },
        [] { return quarrow_set_equal(nullptr, nullptr) == 0; },
        [] { return quarrow_set_next(nullptr, 0) == QUARROW_NONE; },
        [] { return quarrow_set_list(nullptr) == nullptr; },
        [&] { return quarrow_set_affinity(m, nullptr) == nullptr; },
        [] { return quarrow_set_of_machine(nullptr) == nullptr; },
        [&] { return quarrow_set_of_object(m, QUARROW_PACKAGES, 2) == nullptr; },
        [&] { return quarrow_set_of_object(m, 99, 0) == nullptr; },
        [&] { return quarrow_set_of_cache(m, 0, 99) == nullptr; },
        [&] { return quarrow_set_of_kind(m, 3) == nullptr; },
        [] { return quarrow_set_of_numa_node(nullptr, 0) == nullptr; },
        [&] { return quarrow_set_sharing_cache(m, 99, 1) == nullptr; },
        [&] { return quarrow_set_one_per_core(nullptr, s) == nullptr; },
        [] { return quarrow_pin_thread(nullptr) == nullptr; },
        [] { return quarrow_pin_restore(nullptr) != QUARROW_OK; },
    };
    for (std::size_t i = 0; i < std::size(calls); ++i) {
        quarrow_error_clear();
        EXPECT_TRUE(calls[i]()) << i;
        EXPECT_EQ(quarrow_error_code(), QUARROW_ERROR_ARGUMENT) << i << ": " << quarrow_error_text();
        EXPECT_STRNE(quarrow_error_text(), "") << i;
    }
    const char* const notLists[] = {"", "x", "3-1", "1,,2", "99999999999"};
    for (const char* text : notLists) {
        EXPECT_EQ(listed(quarrow_set_from_list(text)).substr(0, text[0] != '\0' ? 1 : 2), text[0] != '\0' ? "'" : "''");
        EXPECT_EQ(quarrow_error_code(), QUARROW_ERROR_INPUT);
    }
    for (const char* text : {"", "1", "0:", "x:1h"}) {
        EXPECT_EQ(quarrow_set_from_affinity(m, text), nullptr) << text;
        EXPECT_EQ(quarrow_error_code(), QUARROW_ERROR_INPUT);
    }
    // What may be null.
    quarrow_machine_free(nullptr);
    quarrow_set_free(nullptr);
    quarrow_leaves_free(nullptr);
    quarrow_pin_free(nullptr);
    quarrow_text_free(nullptr);
}

} // namespace
