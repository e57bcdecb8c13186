#include <libQuarrow/topology/features/FeatureDetection.h>

#include <libQuarrow/cpu/x86/decode/CpuidLeaves.h>
#include <libQuarrow/cpu/x86/decode/CpuidPlace.h>
#include <libQuarrow/cpu/x86/decode/CpuidReader.h>
#include <libQuarrow/machine/bits.h>
#include <libQuarrow/topology/features/FeatureNames.h>
#include <libQuarrow/topology/features/isa.h>
#include <libQuarrow/topology/features/usable_features.h>

#include <algorithm>
#include <iterator>
#include <vector>

namespace libQuarrow::topology {
namespace {

constexpr std::uint32_t rangeMask = 0xFFFF0000; // leaves that share these bits share a maximum
constexpr std::uint32_t noRange = 0xFFFFFFFF;   // not a range's first leaf
constexpr std::uint32_t structuredFeatures = 7; // its sub-leaf 0 tells the last sub-leaf

// A leaf or sub-leaf that means something where a flag of another one is set, and nothing elsewhere (Intel SDM volume
// 2, CPUID, at each leaf; volume 3, chapters on resource director technology and on processor trace). Not reading it
// there saves what costs most, and whatever a hypervisor left in it.
struct Announcement {
    std::uint32_t leaf, subleaf;
    std::uint32_t byLeaf, bySubleaf;
    cpu::CpuidPlace flag;
};
constexpr Announcement announced(std::uint32_t leaf, std::uint32_t subleaf, std::uint32_t byLeaf,
                                 std::uint32_t bySubleaf, const char* flag) {
    return {leaf, subleaf, byLeaf, bySubleaf, cpu::bitPlaceOf(byLeaf, bySubleaf, flag)};
}
constexpr Announcement announcements[] = {
    announced(0x0F, 0, 7, 0, "cqm"),        // resource monitoring
    announced(0x0F, 1, 0x0F, 0, "cqm_llc"), // of the L3
    announced(0x10, 0, 7, 0, "rdt_a"),      // resource allocation
    announced(0x10, 1, 0x10, 0, "cat_l3"),  // of the L3
    announced(0x10, 2, 0x10, 0, "cat_l2"),  // of the L2
    announced(0x10, 3, 0x10, 0, "mba"),     // of memory bandwidth
    announced(0x12, 0, 7, 0, "sgx"),        // enclaves
    announced(0x14, 0, 7, 0, "intel_pt"),   // processor trace
    announced(0x19, 0, 7, 0, "key_locker"), //
    announced(0x24, 0, 7, 1, "avx10"),      //
};

const Announcement* announcementOf(std::uint32_t leaf, std::uint32_t subleaf) {
    const auto* const found =
        std::find_if(std::begin(announcements), std::end(announcements),
                     [=](const Announcement& row) { return row.leaf == leaf && row.subleaf == subleaf; });
    return found != std::end(announcements) ? found : nullptr;
}

constexpr std::size_t wordBits = 64; // of a FeatureSet

// Features that follow each other in their register and in a word of a set.
struct FlagRun {
    std::uint8_t reg; // as CpuidRegister numbers them
    std::uint8_t lowestBit;
    std::uint8_t word;
    std::uint8_t lowestWordBit;
    std::uint32_t mask; // a bit for each of them
};

struct LeafFlags {
    std::uint32_t leaf;
    std::uint32_t subleaf;
    const Announcement* announcement; // null: none is needed
    std::vector<FlagRun> runs;
};

void addFlag(std::vector<FlagRun>& runs, cpu::CpuidRegister reg, unsigned int bit, std::size_t feature) {
    const FlagRun flag{static_cast<std::uint8_t>(reg), static_cast<std::uint8_t>(bit),
                       static_cast<std::uint8_t>(feature / wordBits), static_cast<std::uint8_t>(feature % wordBits), 1};
    if (!runs.empty()) {
        FlagRun& last = runs.back();
        const std::uint32_t next = last.mask + 1; // the mask's ones are its lowest bits
        if (last.reg == flag.reg && last.word == flag.word && flag.lowestBit >= last.lowestBit &&
            std::uint64_t{1} << (flag.lowestBit - last.lowestBit) == next &&
            flag.lowestWordBit - last.lowestWordBit == flag.lowestBit - last.lowestBit) {
            last.mask |= next;
            return;
        }
    }
    runs.push_back(flag);
}

const std::vector<LeafFlags>& leavesWithFlags() {
    static const std::vector<LeafFlags> leaves = [] {
        std::vector<LeafFlags> found;
        for (const FeatureField& feature : featureFields()) {
            const cpu::CpuidField& field = *feature.field;
            const std::uint32_t subleaf = field.firstSubleaf;
            if (found.empty() || found.back().leaf != field.leaf || found.back().subleaf != subleaf) {
                found.push_back({field.leaf, subleaf, announcementOf(field.leaf, subleaf), {}});
            }
            addFlag(found.back().runs, field.reg, field.lowestBit, feature.index);
        }
        return found;
    }();
    return leaves;
}

// Reads what is there and nothing else: each range's first leaf tells the highest of the range.
class ExistingLeaves {
  public:
    explicit ExistingLeaves(cpu::CpuidReader& cpuid) : m_cpuid(cpuid) {}

    // Zeros where there is no such leaf or sub-leaf.
    cpu::cpuid_args read(std::uint32_t leaf, std::uint32_t subleaf, const Announcement* announcement) {
        const bool there =
            leaf <= highest(leaf & rangeMask) && !(leaf == structuredFeatures && subleaf > lastStructured());
        return there && isAnnounced(announcement) ? m_cpuid.read(leaf, subleaf) : cpu::cpuid_args();
    }

  private:
    bool isAnnounced(const Announcement* a) {
        if (a == nullptr) {
            return true;
        }
        const auto answer = read(a->byLeaf, a->bySubleaf, announcementOf(a->byLeaf, a->bySubleaf));
        return cpu::bit(answer.*cpu::registerOf(cpu::registerAt(a->flag)), cpu::lowestBitAt(a->flag));
    }
    // 0 where the range is not there: a leaf that does not answer with one of its own range. The leaves of a range
    // follow each other.
    std::uint32_t highest(std::uint32_t range) {
        if (range != m_range) {
            const std::uint32_t told = cpu::mayHaveRange(m_cpuid, range) ? m_cpuid.read(range).eax : 0;
            m_range = range;
            m_highest = (told & rangeMask) == range ? told : 0;
        }
        return m_highest;
    }
    std::uint32_t lastStructured() { return m_cpuid.read(structuredFeatures).eax; }

    cpu::CpuidReader& m_cpuid;
    std::uint32_t m_range = noRange;
    std::uint32_t m_highest = 0; // leaf of m_range
};

// What a program may execute where the system saves `state`, and a further feature says so.
struct UsableGroup {
    std::uint64_t state;
    std::optional<std::size_t> enabledBy;
    FeatureSet features;
};

const std::vector<UsableGroup>& usableGroups() {
    static const std::vector<UsableGroup> groups = [] {
        std::vector<UsableGroup> found;
        for (const UsableFeature& row : usableFeatures) {
            const auto enabledBy =
                row.enabledBy != nullptr ? std::make_optional(featureNamed(row.enabledBy)->index) : std::nullopt;
            auto group = std::find_if(found.begin(), found.end(), [&](const UsableGroup& other) {
                return other.state == row.state && other.enabledBy == enabledBy;
            });
            if (group == found.end()) {
                group = found.insert(group, {row.state, enabledBy, {}});
            }
            group->features.insert({row.name});
        }
        return found;
    }();
    return groups;
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
    static_assert(std::size(cpu::standardCpuidFlags) + std::size(cpu::extendedCpuidFlags) <= FeatureSet::room);
    FeatureSet features;
    ExistingLeaves leaves(cpuid);
    for (const LeafFlags& leaf : leavesWithFlags()) {
        const cpu::cpuid_args answer = leaves.read(leaf.leaf, leaf.subleaf, leaf.announcement);
        if (answer == cpu::cpuid_args()) {
            continue;
        }
        const std::uint32_t registers[] = {answer.eax, answer.ebx, answer.ecx, answer.edx};
        for (const FlagRun& run : leaf.runs) {
            const std::uint64_t set = registers[run.reg] >> run.lowestBit & run.mask;
            features.m_words[run.word] |= set << run.lowestWordBit;
        }
    }
    return features;
}

FeatureSet usableOf(const FeatureSet& features, cpu::CpuidReader& cpuid) {
    static const std::size_t osxsave = featureNamed("osxsave")->index;
    const std::uint64_t enabled = features.containsIndex(osxsave) ? cpuid.xcr0() : 0;
    FeatureSet usable;
    for (const UsableGroup& group : usableGroups()) {
        if ((enabled & group.state) != group.state || (group.enabledBy && !features.containsIndex(*group.enabledBy))) {
            continue;
        }
        for (std::size_t i = 0; i < usable.m_words.size(); ++i) {
            usable.m_words[i] |= features.m_words[i] & group.features.m_words[i];
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
