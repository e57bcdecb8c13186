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

// The same rows, those of a leaf together.
constexpr auto rowsByLeaf = [] {
    std::array<feature_rows::Row, rowCount(feature_rows::all)> rows{};
    std::size_t size = 0;
    for (const feature_rows::Row& row : feature_rows::all) {
        std::size_t at = size++;
        for (; at > 0 && rows[at - 1].leaf > row.leaf; --at) {
            rows[at] = rows[at - 1];
        }
        rows[at] = row;
    }
    return rows;
}();

// Reads `leaf` and adds what it reports of a processor of these vendors.
void addFeaturesOfLeaf(CpuidReader& cpuid, std::uint32_t leaf, feature_rows::Vendors vendor,
                       x86_feature_flags& features) {
    const cpuid_args answer = cpuid.read(leaf);
    const auto* row =
        std::lower_bound(rowsByLeaf.begin(), rowsByLeaf.end(), leaf,
                         [](const feature_rows::Row& r, std::uint32_t number) { return r.leaf < number; });
    for (; row != rowsByLeaf.end() && row->leaf == leaf; ++row) {
        if ((row->vendors & vendor) != 0 && ((answer.*row->reg >> row->bit) & 1U) != 0) {
            features.addFeature(row->feature);
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
    constexpr std::uint32_t avx2 = 0x20;
    return avxReported(cpuid) && (cpuid.read(7).ebx & avx2) != 0 && avxStateEnabled(cpuid);
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
