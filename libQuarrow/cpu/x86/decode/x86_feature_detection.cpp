#include <libQuarrow/cpu/x86/decode/x86_feature_detection.h>

#include <libQuarrow/cpu/x86/decode/x86_feature_table.h>
#include <libQuarrow/cpu/x86/decode/x86_identification.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>

#include <algorithm>
#include <array>

namespace libQuarrow::cpu {
namespace {

feature_rows::Vendors toSet(x86_cpu_vendor vendor) {
    switch (vendor) {
    case x86_vendor_intel:
        return feature_rows::intel;
    case x86_vendor_amd:
        return feature_rows::amd;
    default:
        return feature_rows::others;
    }
}

// What finding features takes of their rows, without the texts and the other makers' rows: a processor that was just
// entered has none of them in its caches.
struct FeatureBit {
    std::uint32_t leaf;
    std::uint8_t feature;
    std::uint8_t reg; // 0 to 3: EAX to EDX
    std::uint8_t bit;
};
static_assert(x86_feature_count <= UINT8_MAX);

constexpr std::uint8_t numberOf(std::uint32_t cpuid_args::*reg) {
    return reg == &cpuid_args::eax ? 0 : reg == &cpuid_args::ebx ? 1 : reg == &cpuid_args::ecx ? 2 : 3;
}

struct FeatureBits {
    std::array<FeatureBit, rowCount(feature_rows::all)> rows{};
    std::size_t size = 0;
};

// Those of a leaf together.
constexpr FeatureBits bitsOf(feature_rows::Vendors vendor) {
    FeatureBits bits;
    for (const feature_rows::Row& row : feature_rows::all) {
        if ((row.vendors & vendor) == 0) {
            continue;
        }
        std::size_t at = bits.size++;
        for (; at > 0 && bits.rows[at - 1].leaf > row.leaf; --at) {
            bits.rows[at] = bits.rows[at - 1];
        }
        bits.rows[at] = {row.leaf, static_cast<std::uint8_t>(row.feature), numberOf(row.reg),
                         static_cast<std::uint8_t>(row.bit)};
    }
    return bits;
}

constexpr FeatureBits intelBits = bitsOf(feature_rows::intel);
constexpr FeatureBits amdBits = bitsOf(feature_rows::amd);
constexpr FeatureBits othersBits = bitsOf(feature_rows::others);

// Reads `leaf` and adds what it reports of a processor of these vendors.
void addFeaturesOfLeaf(CpuidReader& cpuid, std::uint32_t leaf, feature_rows::Vendors vendor,
                       x86_feature_flags& features) {
    const cpuid_args answer = cpuid.read(leaf);
    const std::uint32_t registers[] = {answer.eax, answer.ebx, answer.ecx, answer.edx};
    const FeatureBits& bits = vendor == feature_rows::intel ? intelBits
                              : vendor == feature_rows::amd ? amdBits
                                                            : othersBits;
    const auto* const end = bits.rows.data() + bits.size;
    const auto* row = std::lower_bound(bits.rows.data(), end, leaf,
                                       [](const FeatureBit& r, std::uint32_t number) { return r.leaf < number; });
    for (; row != end && row->leaf == leaf; ++row) {
        if ((registers[row->reg] >> row->bit & 1U) != 0) {
            features.addFeature(static_cast<x86_cpu_features>(row->feature));
        }
    }
}

// OSXSAVE and AVX of leaf 1.
bool avxReported(CpuidReader& cpuid) {
    const auto version = readLeaf<VersionLeaf>(cpuid);
    return version.osxsave && version.avx;
}

// Whether the operating system saves the SSE and AVX registers.
bool avxStateEnabled(CpuidReader& cpuid) {
    constexpr std::uint64_t sseAndAvxState = 6;
    return (cpuid.xcr0() & sseAndAvxState) == sseAndAvxState;
}

} // namespace

bool avxEnabled(CpuidReader& cpuid) {
    return avxReported(cpuid) && avxStateEnabled(cpuid);
}

// Leaf 7 is read without asking for the highest leaf first, as leaf 1 is: where the firmware limits the leaves, what is
// allowed has always been what these bits then say, and programs were chosen by it.
bool avx2Enabled(CpuidReader& cpuid) {
    return avxReported(cpuid) && valueAt<placeOf(7, "avx2")>(cpuid.read(7)) != 0 && avxStateEnabled(cpuid);
}

x86_feature_flags requiredFeatures() {
    x86_feature_flags features;
    features |= x86_feature_CPUID;
    features |= x86_feature_MSR;
    features |= x86_feature_TSC;
    return features;
}

x86_feature_flags decodeSupportedFeatures(CpuidReader& cpuid) {
    x86_feature_flags features;
    if (!cpuid.hasCpuid()) {
        return features;
    }
    features |= x86_feature_CPUID;
    const feature_rows::Vendors vendor = toSet(decodeVendor(cpuid));

    if (decodeMaxCpuid(cpuid) != 0) {
        addFeaturesOfLeaf(cpuid, 1, vendor, features);
    }
    if (vendor == feature_rows::intel && decodeMaxCpuid(cpuid) >= 6) {
        addFeaturesOfLeaf(cpuid, 6, vendor, features);
    }
    if (decodeMaxCpuid(cpuid) >= 7) {
        addFeaturesOfLeaf(cpuid, 7, vendor, features);
    }
    if (decodeMaxExtendedCpuid(cpuid) >= 0x80000001) {
        addFeaturesOfLeaf(cpuid, 0x80000001, vendor, features);
    }
    if (vendor != feature_rows::amd) {
        return features;
    }
    for (const std::uint32_t leaf : {0x80000007U, 0x8000000AU, 0x8000001AU}) {
        if (decodeMaxExtendedCpuid(cpuid) >= leaf) {
            addFeaturesOfLeaf(cpuid, leaf, vendor, features);
        }
    }
    return features;
}

x86_feature_flags decodeAllowedFeatures(CpuidReader& cpuid) {
    return decodeAllowedFeatures(cpuid, decodeSupportedFeatures(cpuid));
}

x86_feature_flags decodeAllowedFeatures(CpuidReader& cpuid, const x86_feature_flags& supported) {
    x86_feature_flags features = requiredFeatures() & supported;
    if (avxEnabled(cpuid)) {
        features |= x86_feature_AVX;
    }
    if (avx2Enabled(cpuid)) {
        features |= x86_feature_AVX2;
    }
    return features;
}

} // namespace libQuarrow::cpu
