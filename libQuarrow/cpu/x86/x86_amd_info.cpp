#include <libQuarrow/cpu/x86/x86_amd_info.h>

#include <libQuarrow/cpu/x86/amd/x86_amd_revisions.h>
#include <libQuarrow/cpu/x86/decode/GuardedCpuidReader.h>
#include <libQuarrow/cpu/x86/decode/x86_registers.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint32_t msrApicBase = 0x1B;

struct PackageField {
    std::uint32_t field; // ExtendedFeaturesLeaf::packageType
    std::uint32_t package;
};

template <std::size_t count>
AmdPackageType packageFor(std::uint32_t field, const PackageField (&fields)[count]) {
    for (const PackageField& row : fields) {
        if (row.field == field) {
            return static_cast<AmdPackageType>(row.package);
        }
    }
    return AmdPackage_other;
}

constexpr PackageField family12[] = {{0, 5}, {1, 10}, {2, 11}, {3, AmdPackage_G34}, {5, AmdPackage_C32}};
constexpr PackageField family15[] = {{0, 5}, {3, AmdPackage_G34}, {5, AmdPackage_C32}};
constexpr PackageField family16[] = {{0, AmdPackage_FT3}, {1, AmdPackage_FS1b}, {2, 6}};
constexpr PackageField family17[] = {{2, 6}};

} // namespace

x86_amd_info::x86_amd_info(const x86_cpu& cpu) : m_cpu(&cpu) {
    m_revision.family = cpu.getSignature().displayFamily;
    // All rows are looked at, so that the last one of a signature counts.
    for (const AmdRevisionRow& row : amdRevisions) {
        if (row.signature != cpu.getSignature().signature) {
            continue;
        }
        m_revision = row.revision;
        m_revisionText = row.text;
        const bool tableTells = row.revision.family <= 0x10;
        m_packageType = tableTells ? row.packageType : packageTypeByLeaf(row.revision.family);
    }
}

AmdPackageType x86_amd_info::packageTypeByLeaf(std::uint32_t family) const {
    cpuid_args registers;
    if (!GuardedCpuidReader(*m_cpu).ask(ExtendedFeaturesLeaf::number, 0, registers)) {
        return AmdPackage_other;
    }
    const std::uint32_t field = ExtendedFeaturesLeaf(registers).packageType;
    switch (family) {
    case 0x11: // goes by family 0x12's list on purpose, though its manual has a list of its own: users know these codes
    case 0x12:
        return packageFor(field, family12);
    case 0x15:
        return packageFor(field, family15);
    case 0x16:
        return packageFor(field, family16);
    case 0x17: // no revision of it is in the table yet
        return packageFor(field, family17);
    default:
        return AmdPackage_other;
    }
}

bool x86_amd_info::getRevisionString(zel::String& text) const {
    text = m_revisionText;
    return !text.isEmpty();
}

AmdProcessorBSPType x86_amd_info::isBSP() const {
    const std::uint32_t family = m_cpu->getSignature().displayFamily;
    std::uint64_t apicBase = 0;
    if ((family != 15 && family != 16) || !m_cpu->callRDMSR(msrApicBase, apicBase)) {
        return AmdBSP_unknown;
    }
    return bit(apicBase, 8) ? AmdBSP_bootstrap : AmdBSP_application;
}

} // namespace libQuarrow::cpu
