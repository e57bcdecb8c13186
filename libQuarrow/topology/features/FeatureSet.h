#pragma once

#include <libQuarrow/quarrow_export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace libQuarrow::cpu {
class CpuidReader;
}

namespace libQuarrow::topology {

// A feature flag by its name, as /proc/cpuinfo has it where it has one: "avx2", "pni" (SSE3). isa.h has constants for
// those that programs ask for.
struct Feature {
    std::string_view name;
};

// A set of feature flags of those that this library knows, some 450.
class QUARROW_EXPORT FeatureSet {
  public:
    FeatureSet() = default; // empty

    // False for a name that this library does not know.
    bool contains(Feature feature) const;
    bool contains(std::string_view name) const { return contains(Feature{name}); }
    bool containsAll(const FeatureSet& others) const;
    // Whether this library knows a flag of that name.
    static bool isKnown(std::string_view name);
    // What the flag says, in a phrase; empty for an unknown name. A constant of the library.
    static std::string_view meaningOf(std::string_view name);

    // The names, in the order of leaves and bits. Constants of the library.
    std::vector<std::string_view> names() const;
    std::size_t count() const;
    bool empty() const { return count() == 0; }

    // Nothing for a name that this library does not know.
    void insert(Feature feature);

    FeatureSet operator|(const FeatureSet& other) const; // in either
    FeatureSet operator&(const FeatureSet& other) const; // in both
    FeatureSet operator-(const FeatureSet& other) const; // in this one alone
    friend bool operator==(const FeatureSet& a, const FeatureSet& b) { return a.m_words == b.m_words; }
    friend bool operator!=(const FeatureSet& a, const FeatureSet& b) { return !(a == b); }
    friend bool operator<(const FeatureSet& a, const FeatureSet& b) { return a.m_words < b.m_words; }

  private:
    friend FeatureSet featuresOf(cpu::CpuidReader& cpuid);
    friend FeatureSet usableOf(const FeatureSet& features, cpu::CpuidReader& cpuid);
    // In the order of names(); below `room`.
    bool containsIndex(std::size_t index) const { return (m_words[index / 64] >> index % 64 & 1) != 0; }
    void insertIndex(std::size_t index) { m_words[index / 64] |= std::uint64_t{1} << index % 64; }

    static constexpr std::size_t room = 512;
    std::array<std::uint64_t, room / 64> m_words{}; // a bit for each name
};

} // namespace libQuarrow::topology
