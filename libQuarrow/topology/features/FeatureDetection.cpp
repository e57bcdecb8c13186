#include <libQuarrow/topology/features/FeatureDetection.h>

#include <libQuarrow/cpu/x86/decode/CpuidLeaves.h>
#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/machine/bits.h>
#include <libQuarrow/topology/features/FeatureNames.h>
#include <libQuarrow/topology/features/isa.h>
#include <libQuarrow/topology/features/usable_features.h>

#include <iterator>
#include <map>
#include <vector>

namespace libQuarrow::topology {
namespace {

constexpr std::uint32_t rangeMask = 0xFFFF0000; // leaves that share these bits share a maximum
constexpr std::uint32_t structuredFeatures = 7; // its sub-leaf 0 tells the last sub-leaf

// Reads what is there and nothing else: each range's first leaf tells the highest of the range.
class ExistingLeaves {
  public:
    explicit ExistingLeaves(cpu::CpuidReader& cpuid) : m_cpuid(cpuid) {}

    // Zeros where there is no such leaf or sub-leaf.
    cpu::cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf) {
        if (leaf > highest(leaf & rangeMask) || (leaf == structuredFeatures && subleaf > lastStructured())) {
            return {};
        }
        return m_cpuid.read(leaf, subleaf);
    }

  private:
    // 0 where the range is not there: a leaf that does not answer with one of its own range.
    std::uint32_t highest(std::uint32_t range) {
        const auto known = m_highest.find(range);
        if (known != m_highest.end()) {
            return known->second;
        }
        const std::uint32_t told = cpu::mayHaveRange(m_cpuid, range) ? m_cpuid.read(range).eax : 0;
        return m_highest[range] = (told & rangeMask) == range ? told : 0;
    }
    std::uint32_t lastStructured() { return m_cpuid.read(structuredFeatures).eax; }

    cpu::CpuidReader& m_cpuid;
    std::map<std::uint32_t, std::uint32_t> m_highest;
};

std::uint32_t registerOf(const cpu::cpuid_args& leaf, cpu::CpuidRegister reg) {
    switch (reg) {
    case cpu::CpuidRegister::eax:
        return leaf.eax;
    case cpu::CpuidRegister::ebx:
        return leaf.ebx;
    case cpu::CpuidRegister::ecx:
        return leaf.ecx;
    default:
        return leaf.edx;
    }
}

// A row of usableFeatures by the places of its names, which are looked up once.
struct UsableRow {
    std::size_t feature;
    std::uint64_t state;
    std::optional<std::size_t> enabledBy;
};

const std::vector<UsableRow>& usableRows() {
    static const std::vector<UsableRow> rows = [] {
        std::vector<UsableRow> found;
        for (const UsableFeature& row : usableFeatures) {
            found.push_back({featureNamed(row.name)->index, row.state, std::nullopt});
            if (row.enabledBy != nullptr) {
                found.back().enabledBy = featureNamed(row.enabledBy)->index;
            }
        }
        return found;
    }();
    return rows;
}

FeatureSet setOf(std::initializer_list<Feature> features) {
    FeatureSet set;
    for (const Feature feature : features) {
        set.insert(feature);
    }
    return set;
}

} // namespace

FeatureSet featuresOf(cpu::CpuidReader& cpuid) {
    FeatureSet features;
    ExistingLeaves leaves(cpuid);
    const cpu::CpuidField* previous = nullptr;
    cpu::cpuid_args answer;
    for (const FeatureField& feature : featureFields()) {
        const cpu::CpuidField& field = *feature.field;
        if (previous == nullptr || previous->leaf != field.leaf || previous->firstSubleaf != field.firstSubleaf) {
            answer = leaves.read(field.leaf, field.firstSubleaf);
        }
        previous = &field;
        if (cpu::bit(registerOf(answer, field.reg), field.lowestBit)) {
            features.insertIndex(feature.index);
        }
    }
    return features;
}

FeatureSet usableOf(const FeatureSet& features, cpu::CpuidReader& cpuid) {
    const std::uint64_t enabled = features.contains("osxsave") ? cpuid.xcr0() : 0;
    FeatureSet usable;
    for (const UsableRow& row : usableRows()) {
        if (features.containsIndex(row.feature) && (enabled & row.state) == row.state &&
            (!row.enabledBy || features.containsIndex(*row.enabledBy))) {
            usable.insertIndex(row.feature);
        }
    }
    return usable;
}

std::optional<std::uint32_t> levelOf(const FeatureSet& usable) {
    using namespace isa;
    // 64-bit mode has SYSCALL wherever it is: Intel's processors do not tell it to programs of 32 bits.
    static const FeatureSet levels[] = {
        setOf({{"lm"}, cmov, cx8, {"fpu"}, {"fxsr"}, mmx, sse, sse2}),
        setOf({cx16, {"lahf_lm"}, popcnt, sse3, sse4_1, sse4_2, ssse3}),
        setOf({avx, avx2, bmi1, bmi2, f16c, fma, lzcnt, movbe, {"xsave"}}),
        setOf({avx512f, avx512bw, avx512cd, avx512dq, avx512vl}),
    };
    std::uint32_t level = 0;
    while (level < std::size(levels) && usable.containsAll(levels[level])) {
        ++level;
    }
    return level == 0 ? std::nullopt : std::make_optional(level);
}

} // namespace libQuarrow::topology
