#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/String.h>

#include <boost/optional.hpp>

#include <cstdint>
#include <tuple>

namespace libQuarrow::cpu {

enum x86_CacheLevel : std::uint32_t {
    x86_cache_level_1 = 1,
    x86_cache_level_2 = 2,
    x86_cache_level_3 = 3,
    x86_cache_level_4 = 4,
    x86_cache_level_not_applicable = 5,
    x86_cache_level_unknown = 6,
};

enum x86_CacheType : std::uint32_t {
    x86_cache_type_unified = 0,
    x86_cache_type_data = 1,
    x86_cache_type_instruction = 2,
    x86_cache_type_trace = 3, // decoded micro-operations instead of code bytes
    x86_cache_type_unknown = 4,
};

// In how many places of the cache a line can lie. The values 2 to x86_cache_assoc_max_ways are that number itself.
enum x86_CacheAssociativity : std::uint32_t {
    x86_cache_assoc_disabled = 0,
    x86_cache_assoc_direct_mapped = 1,
    x86_cache_assoc_max_ways = 0x10000,
    x86_cache_assoc_full = 0x10001,
    x86_cache_assoc_unknown = 0x10002,
};

// What a cache's size counts.
enum CacheSizeBaseUnitType : std::uint32_t {
    CacheSizeInBytes = 0,
    CacheSizeInMicroOps = 1, // trace caches
};

// What x86_cache::compareCaches looks at.
enum ComparisonType : std::uint32_t {
    CompareProperties = 0,
    ComparePropertiesAndTopology = 1,
};

// One kind of cache that a processor or package has: its properties, the number of its instances and of the logical
// processors at each, and, where the processor tells, the APIC IDs that an instance serves. A plain value.
class QUARROW_EXPORT x86_cache {
  public:
    x86_cache() = default; // of unknown level, type and associativity; size 0, no instance
    // One instance; shared by 0 (not known) until setThreadsSharing. `size` counts `sizeUnit`.
    x86_cache(x86_CacheLevel level, x86_CacheType type, x86_CacheAssociativity associativity, std::uint64_t size,
              CacheSizeBaseUnitType sizeUnit, std::uint32_t lineSizeBytes);

    x86_CacheLevel getCacheLevel() const { return m_level; }
    x86_CacheType getCacheType() const { return m_type; }
    x86_CacheAssociativity getAssociativity() const { return m_associativity; }
    std::uint32_t getLineSizeBytes() const { return m_lineSizeBytes; } // 0: not known
    // False, with `bytes` untouched, when the size does not count bytes.
    bool getCacheSizeBytes(std::uint64_t& bytes) const;
    void getCacheSize(std::uint64_t& size, CacheSizeBaseUnitType& unit) const;

    std::uint32_t getInstanceCount() const { return m_instanceCount; }
    void setInstanceCount(std::uint32_t count) { m_instanceCount = count; }
    void incrementInstanceCount() { ++m_instanceCount; }
    // Logical processors that share one instance; 0: not known.
    std::uint32_t getThreadsSharing() const { return m_threadsSharing; }
    void setThreadsSharing(std::uint32_t threads) { m_threadsSharing = threads; }

    // Topology IDs: `mask` selects the bits of an APIC ID that tell one instance from another. All processors that an
    // instance serves have the same bits there; those bits are the cache's ID.
    void setTopologyIds(std::uint32_t apicId, std::uint32_t mask);
    void clearTopologyIds();
    // False, with the arguments untouched, when there are none.
    bool getTopologyIds(std::uint32_t& id, std::uint32_t& mask) const;
    // Whether this instance serves that processor; false without topology IDs.
    bool matchesApicId(std::uint32_t apicId) const;

    // CompareProperties: whether level, type, associativity, line size, size and unit are equal.
    // ComparePropertiesAndTopology: whether the topology IDs are too; none unless both have them. Otherwise none.
    boost::optional<bool> compareCaches(const x86_cache& other, ComparisonType comparison) const;
    // By level, then by type.
    bool operator<(const x86_cache& other) const;

    // From the numbers that processors report.
    static x86_CacheLevel getCacheLevelConstant(std::uint32_t level);      // unknown unless 1 to 4
    static x86_CacheAssociativity getSetAssocConstant(std::uint32_t ways); // unknown unless 2 to 0x10000
    // False, with `ways` 0, unless the associativity is a number of ways (2 to 0x10000).
    static bool getNWayAssocFromConstant(x86_CacheAssociativity associativity, std::uint32_t& ways);

    // "L1", "Data", "8-Way Set-Associative".
    static const char* levelText(x86_CacheLevel level);
    static const char* typeText(x86_CacheType type);
    static zel::String associativityText(x86_CacheAssociativity associativity);
    // "32 KB" or "12 Kuops"; with `withInstances` and two or more instances "4 x 32 KB". A unit that is neither bytes
    // nor micro-operations raises an assertion.
    zel::String getCacheSizeFormatted(bool withInstances) const;
    // The report, one line for each property, each indented by that many blanks.
    zel::String toString(unsigned int indent) const;

  private:
    friend class x86_caches;

    auto properties() const {
        return std::make_tuple(m_level, m_type, m_associativity, m_lineSizeBytes, m_size, m_sizeUnit);
    }

    bool m_hasTopologyIds = false;
    std::uint32_t m_topologyId = 0;
    std::uint32_t m_topologyMask = 0;
    std::uint32_t m_instanceCount = 0;
    std::uint32_t m_threadsSharing = 0;
    x86_CacheLevel m_level = x86_cache_level_unknown;
    x86_CacheType m_type = x86_cache_type_unknown;
    x86_CacheAssociativity m_associativity = x86_cache_assoc_unknown;
    std::uint32_t m_lineSizeBytes = 0;
    std::uint64_t m_size = 0;
    CacheSizeBaseUnitType m_sizeUnit = CacheSizeInBytes;
};

} // namespace libQuarrow::cpu
