#include <libQuarrow/cpu/x86/x86_cache.h>

#include <zel/Assertion.h>
#include <zel/Measurement.h>

namespace libQuarrow::cpu {

x86_cache::x86_cache(x86_CacheLevel level, x86_CacheType type, x86_CacheAssociativity associativity, std::uint64_t size,
                     CacheSizeBaseUnitType sizeUnit, std::uint32_t lineSizeBytes)
    : m_instanceCount(1), m_level(level), m_type(type), m_associativity(associativity), m_lineSizeBytes(lineSizeBytes),
      m_size(size), m_sizeUnit(sizeUnit) {}

bool x86_cache::getCacheSizeBytes(std::uint64_t& bytes) const {
    if (m_sizeUnit != CacheSizeInBytes) {
        return false;
    }
    bytes = m_size;
    return true;
}

void x86_cache::getCacheSize(std::uint64_t& size, CacheSizeBaseUnitType& unit) const {
    size = m_size;
    unit = m_sizeUnit;
}

void x86_cache::setTopologyIds(std::uint32_t apicId, std::uint32_t mask) {
    m_hasTopologyIds = true;
    m_topologyId = apicId & mask;
    m_topologyMask = mask;
}

void x86_cache::clearTopologyIds() {
    m_hasTopologyIds = false;
    m_topologyId = 0;
}

bool x86_cache::getTopologyIds(std::uint32_t& id, std::uint32_t& mask) const {
    if (!m_hasTopologyIds) {
        return false;
    }
    id = m_topologyId;
    mask = m_topologyMask;
    return true;
}

bool x86_cache::matchesApicId(std::uint32_t apicId) const {
    return m_hasTopologyIds && (m_topologyMask & apicId) == m_topologyId;
}

boost::optional<bool> x86_cache::compareCaches(const x86_cache& other, ComparisonType comparison) const {
    const bool sameProperties = properties() == other.properties();
    switch (comparison) {
    case CompareProperties:
        return sameProperties;
    case ComparePropertiesAndTopology:
        if (!m_hasTopologyIds || !other.m_hasTopologyIds) {
            return boost::none;
        }
        return sameProperties && m_topologyId == other.m_topologyId && m_topologyMask == other.m_topologyMask;
    }
    return boost::none;
}

bool x86_cache::operator<(const x86_cache& other) const {
    // As signed numbers, so that a level or type past 2^31, which no processor reports, sorts first.
    const auto key = [](const x86_cache& cache) {
        return std::make_pair(static_cast<std::int32_t>(cache.m_level), static_cast<std::int32_t>(cache.m_type));
    };
    return key(*this) < key(other);
}

x86_CacheLevel x86_cache::getCacheLevelConstant(std::uint32_t level) {
    return level >= 1 && level <= 4 ? static_cast<x86_CacheLevel>(level) : x86_cache_level_unknown;
}

x86_CacheAssociativity x86_cache::getSetAssocConstant(std::uint32_t ways) {
    return ways >= 2 && ways <= x86_cache_assoc_max_ways ? static_cast<x86_CacheAssociativity>(ways)
                                                         : x86_cache_assoc_unknown;
}

bool x86_cache::getNWayAssocFromConstant(x86_CacheAssociativity associativity, std::uint32_t& ways) {
    const bool isNumber = associativity >= 2 && associativity <= x86_cache_assoc_max_ways;
    ways = isNumber ? std::uint32_t{associativity} : 0;
    return isNumber;
}

const char* x86_cache::levelText(x86_CacheLevel level) {
    switch (level) {
    case x86_cache_level_1:
        return "L1";
    case x86_cache_level_2:
        return "L2";
    case x86_cache_level_3:
        return "L3";
    case x86_cache_level_4:
        return "L4";
    case x86_cache_level_not_applicable:
        return "NA";
    case x86_cache_level_unknown:
        break;
    }
    return "Unknown";
}

const char* x86_cache::typeText(x86_CacheType type) {
    switch (type) {
    case x86_cache_type_unified:
        return "Unified";
    case x86_cache_type_data:
        return "Data";
    case x86_cache_type_instruction:
        return "Instruction";
    case x86_cache_type_trace:
        return "Trace";
    case x86_cache_type_unknown:
        break;
    }
    return "Unknown";
}

zel::String x86_cache::associativityText(x86_CacheAssociativity associativity) {
    std::uint32_t ways = 0;
    if (getNWayAssocFromConstant(associativity, ways)) {
        return zel::String::SprintfFormat("%u-Way Set-Associative", ways);
    }
    switch (associativity) {
    case x86_cache_assoc_disabled:
        return "Disabled";
    case x86_cache_assoc_direct_mapped:
        return "Direct Mapped";
    case x86_cache_assoc_full:
        return "Fully Associative";
    default:
        return "Unknown";
    }
}

zel::String x86_cache::getCacheSizeFormatted(bool withInstances) const {
    ZEL_ASSERT_TEXT(m_sizeUnit == CacheSizeInBytes || m_sizeUnit == CacheSizeInMicroOps, "size unit is known",
                    "cpu/x86/x86_cache");
    zel::String size = m_sizeUnit == CacheSizeInBytes ? zel::DiscreteMeasurement(m_size).toString()
                                                      : zel::ZELValue(m_size >> 10).toString() + " Kuops";
    if (!withInstances || m_instanceCount < 2) {
        return size;
    }
    return zel::ZELValue(m_instanceCount).toString() + " x " + size;
}

zel::String x86_cache::toString(unsigned int indent) const {
    const zel::String blanks = zel::String::repeat(" ", indent);
    zel::String report;
    const auto line = [&](const char* label, const zel::String& value) {
        report += blanks + zel::String::SprintfFormat("%-16s: %s\n", label, value);
    };
    line("Cache Level", levelText(m_level));
    line("Cache Type", typeText(m_type));
    line("Associativity", associativityText(m_associativity));
    if (m_lineSizeBytes != 0) {
        line("Line Size", zel::String::SprintfFormat("%u bytes", m_lineSizeBytes));
    }
    line("Size", getCacheSizeFormatted(false));
    line("Threads Sharing", zel::String::SprintfFormat("%u", m_threadsSharing));
    line("Instances", zel::String::SprintfFormat("%u", m_instanceCount));
    if (m_hasTopologyIds) {
        line("APIC ID Mask", zel::String::SprintfFormat("%08Xh", m_topologyMask));
        line("Cache ID", zel::String::SprintfFormat("%08Xh", m_topologyId));
    }
    return report;
}

} // namespace libQuarrow::cpu
