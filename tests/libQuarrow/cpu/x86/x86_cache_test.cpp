#include <tests/support/CacheTexts.h>
#include <zel/Assertion.h>

#include <boost/optional/optional_io.hpp>
#include <gmock/gmock.h>

using namespace libQuarrow::cpu;

namespace {

x86_cache l1Data(std::uint64_t size = 32 << 10) {
    return x86_cache(x86_cache_level_1, x86_cache_type_data, x86_cache_assoc_full, size, CacheSizeInBytes, 64);
}

x86_cache l2(std::uint32_t apicId, std::uint32_t mask) {
    x86_cache cache(x86_cache_level_2, x86_cache_type_unified, x86_cache::getSetAssocConstant(16), 1 << 20,
                    CacheSizeInBytes, 64);
    cache.setTopologyIds(apicId, mask);
    cache.setThreadsSharing(2);
    cache.setInstanceCount(5);
    return cache;
}

TEST(x86_cache, report) {
    EXPECT_EQ(x86_cache().toString(0), "Cache Level     : Unknown\nCache Type      : Unknown\n"
                                       "Associativity   : Unknown\nSize            : 0 bytes\n"
                                       "Threads Sharing : 0\nInstances       : 0\n");
    x86_cache cache = l2(0x13, ~1u);
    const zel::String plain = "  Cache Level     : L2\n  Cache Type      : Unified\n"
                              "  Associativity   : 16-Way Set-Associative\n  Line Size       : 64 bytes\n"
                              "  Size            : 1 MB\n  Threads Sharing : 2\n  Instances       : 5\n";
    EXPECT_EQ(cache.toString(2), plain + "  APIC ID Mask    : FFFFFFFEh\n  Cache ID        : 00000012h\n");
    cache.clearTopologyIds();
    EXPECT_EQ(x86_caches(zel::Array<x86_cache>{cache, cache}).toString(2), plain + "\n" + plain + "\n");
}

TEST(x86_cache, numbers_and_texts) {
    const struct {
        std::uint32_t number, level, associativity, ways;
        const char* text; // of the number as an associativity
        const char* levelAndType;
    } cases[] = {
        {0, 6, 0x10002, 0, "Disabled", "Unknown Unified"},
        {1, 1, 0x10002, 0, "Direct Mapped", "L1 Data"},
        {2, 2, 2, 2, "2-Way Set-Associative", "L2 Instruction"},
        {3, 3, 3, 3, "3-Way Set-Associative", "L3 Trace"},
        {4, 4, 4, 4, "4-Way Set-Associative", "L4 Unknown"},
        {5, 6, 5, 5, "5-Way Set-Associative", "NA Unknown"},
        {0x10000, 6, 0x10000, 0x10000, "65536-Way Set-Associative", "Unknown Unknown"},
        {0x10001, 6, 0x10002, 0, "Fully Associative", "Unknown Unknown"},
        {0xFFFFFFFF, 6, 0x10002, 0, "Unknown", "Unknown Unknown"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.number);
        EXPECT_EQ(x86_cache::getCacheLevelConstant(test.number), test.level);
        EXPECT_EQ(x86_cache::getSetAssocConstant(test.number), test.associativity);
        const auto associativity = static_cast<x86_CacheAssociativity>(test.number);
        std::uint32_t ways = 9;
        EXPECT_EQ(x86_cache::getNWayAssocFromConstant(associativity, ways), test.ways != 0);
        EXPECT_EQ(ways, test.ways);
        EXPECT_EQ(x86_cache::associativityText(associativity), test.text);
        EXPECT_EQ(zel::String(x86_cache::levelText(static_cast<x86_CacheLevel>(test.number))) + " " +
                      x86_cache::typeText(static_cast<x86_CacheType>(test.number)),
                  test.levelAndType);
    }
}

TEST(x86_cache, size_counts_bytes_or_micro_operations) {
    x86_cache data = l1Data(48 << 10);
    EXPECT_EQ(data.getCacheSizeFormatted(true), "48 KB");
    data.incrementInstanceCount();
    EXPECT_EQ(data.getCacheSizeFormatted(true), "2 x 48 KB");
    const auto sized = [](std::uint32_t unit) {
        return x86_cache(x86_cache_level_1, x86_cache_type_trace, x86_cache_assoc_unknown, 12 << 10,
                         static_cast<CacheSizeBaseUnitType>(unit), 0);
    };
    EXPECT_EQ(sized(CacheSizeInMicroOps).getCacheSizeFormatted(true), "12 Kuops");
    std::uint64_t bytes = 7;
    EXPECT_FALSE(sized(CacheSizeInMicroOps).getCacheSizeBytes(bytes));
    EXPECT_EQ(bytes, 7u);
    EXPECT_TRUE(data.getCacheSizeBytes(bytes));
    EXPECT_EQ(bytes, 48u << 10);
    EXPECT_THAT(
        [&] { sized(2).getCacheSizeFormatted(false); },
        testing::Throws<zel::AssertionError>(testing::Property(&zel::AssertionError::sourcePath, "cpu/x86/x86_cache")));
}

TEST(x86_cache, comparison) {
    const x86_cache a = l2(0, ~1u);
    const x86_cache b = l2(2, ~1u);
    EXPECT_EQ(a.compareCaches(b, CompareProperties), true);
    EXPECT_EQ(a.compareCaches(b, ComparePropertiesAndTopology), false);
    EXPECT_EQ(a.compareCaches(l2(1, ~1u), ComparePropertiesAndTopology), true);
    EXPECT_EQ(a.compareCaches(l2(0, ~3u), ComparePropertiesAndTopology), false);
    EXPECT_EQ(a.compareCaches(l1Data(), ComparePropertiesAndTopology), boost::none);
    EXPECT_EQ(a.compareCaches(a, static_cast<ComparisonType>(2)), boost::none);
    EXPECT_EQ(a.compareCaches(l1Data(), CompareProperties), false);
    EXPECT_TRUE(b.matchesApicId(3));
    EXPECT_FALSE(b.matchesApicId(4));
    EXPECT_FALSE(l1Data().matchesApicId(0));
    std::uint32_t none = 0;
    EXPECT_FALSE(l1Data().getTopologyIds(none, none));
    // Numbers that no processor reports count as signed.
    EXPECT_TRUE(x86_cache(static_cast<x86_CacheLevel>(0x80000000), {}, {}, 0, {}, 0) < a);
    EXPECT_TRUE(x86_cache(x86_cache_level_2, static_cast<x86_CacheType>(0x80000000), {}, 0, {}, 0) < a);
}

TEST(x86_caches, are_kept_in_order_of_level_then_type) {
    const x86_cache instructions(x86_cache_level_1, x86_cache_type_instruction, x86_cache_assoc_full, 1,
                                 CacheSizeInBytes, 0);
    x86_caches caches;
    caches.addCache(l2(0, 1));
    caches.addCaches({instructions, l1Data(1), l1Data(2)});
    caches.addCaches(caches);
    EXPECT_EQ(testing_support::textOf(caches), // of one level and type: as they were added
              "L1D 1/64 Fully x0, L1D 2/64 Fully x0, L1D 1/64 Fully x0, L1D 2/64 Fully x0, "
              "L1I 1/0 Fully x0, L1I 1/0 Fully x0, L2U 1048576/64 16 x2, L2U 1048576/64 16 x2");
    std::size_t index = 99;
    EXPECT_TRUE(caches.findCache(x86_cache_level_1, x86_cache_type_data, 0, index));
    EXPECT_EQ(index, 0u);
    EXPECT_TRUE(caches.findCache(x86_cache_level_1, x86_cache_type_instruction, 1, index));
    EXPECT_EQ(index, 5u);
    EXPECT_FALSE(caches.findCache(x86_cache_level_2, x86_cache_type_unified, 2, index));
    EXPECT_EQ(index, 5u);
    EXPECT_THROW(caches[8], zel::AssertionError);
}

TEST(x86_caches, consolidation) {
    x86_cache shared = l1Data();
    shared.setThreadsSharing(2);
    shared.setInstanceCount(3);
    const struct {
        const char* what;
        zel::Array<x86_cache> caches;
        bool combine;
        const char* expected; // instances and threads sharing
        bool identified = false;
    } cases[] = {
        {"different IDs are instances", {l2(0, ~1u), l2(2, ~1u)}, true, "2x1"},
        {"different IDs stay apart", {l2(0, ~1u), l2(2, ~1u)}, false, "1x1 1x1", true},
        // Both counts are reset to 1 on purpose, whatever they were.
        {"equal IDs are one cache", {l2(0, ~1u), l2(1, ~1u)}, false, "1x1", true},
        {"another mask is another cache", {l2(0, ~1u), l2(0, ~3u)}, false, "1x1 1x1", true},
        {"no IDs: all stay as they are", {shared, shared}, false, "3x2 3x2"},
        {"no IDs: instances add up", {shared, shared}, true, "6x2"},
        {"other properties", {shared, l1Data(1)}, true, "3x2 1x0"},
    };
    for (const auto& test : cases) {
        x86_caches caches(test.caches);
        caches.consolidateCaches(test.combine);
        EXPECT_EQ(testing_support::countsOf(caches), test.expected) << test.what;
        EXPECT_EQ(caches[0].matchesApicId(0), test.identified) << test.what;
    }
}

} // namespace
