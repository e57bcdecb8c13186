#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>
#include <libQuarrow/cpu/x86/x86_amd_info.h>

// Private to the library: which revision of which die an AMD processor is, and in which package where the signature
// alone tells. After the product identification tables in AMD's revision guides, one guide per family.

namespace libQuarrow::cpu {

struct AmdRevisionRow {
    std::uint32_t signature; // CPUID leaf 1 EAX
    const char* text;        // die and revision
    AmdCpuRevision revision;
    AmdPackageType packageType; // families 0xF and 0x10 only: for the others CPUID leaf 0x80000001 tells
};

// The first row stands twice on purpose. That does no harm, since of equal signatures the last row counts.
// clang-format off
constexpr AmdRevisionRow amdRevisions[] = {
    {0x000F40, "SH-B0",  {0x0F, AmdCore_SH,  AmdRevision_B0, 0}, AmdPackage_754},
    {0x000F40, "SH-B0",  {0x0F, AmdCore_SH,  AmdRevision_B0, 0}, AmdPackage_754},
    {0x000F50, "SH-B0",  {0x0F, AmdCore_SH,  AmdRevision_B0, 0}, AmdPackage_940},
    {0x000F51, "SH-B3",  {0x0F, AmdCore_SH,  AmdRevision_B3, 0}, AmdPackage_940},
    {0x000F48, "SH-C0",  {0x0F, AmdCore_SH,  AmdRevision_C0, 0}, AmdPackage_754},
    {0x000F58, "SH-C0",  {0x0F, AmdCore_SH,  AmdRevision_C0, 0}, AmdPackage_940},
    {0x000F4A, "SH-CG",  {0x0F, AmdCore_SH,  AmdRevision_CG, 0}, AmdPackage_754},
    {0x000F5A, "SH-CG",  {0x0F, AmdCore_SH,  AmdRevision_CG, 0}, AmdPackage_940},
    {0x000F7A, "SH-CG",  {0x0F, AmdCore_SH,  AmdRevision_CG, 0}, AmdPackage_939},
    {0x000FC0, "DH-CG",  {0x0F, AmdCore_DH,  AmdRevision_CG, 0}, AmdPackage_754},
    {0x000FE0, "DH-CG",  {0x0F, AmdCore_DH,  AmdRevision_CG, 0}, AmdPackage_754},
    {0x000FF0, "DH-CG",  {0x0F, AmdCore_DH,  AmdRevision_CG, 0}, AmdPackage_939},
    {0x000F82, "CH-CG",  {0x0F, AmdCore_CH,  AmdRevision_CG, 0}, AmdPackage_754},
    {0x000FB2, "CH-CG",  {0x0F, AmdCore_CH,  AmdRevision_CG, 0}, AmdPackage_939},
    {0x010F50, "SH-D0",  {0x0F, AmdCore_SH,  AmdRevision_D0, 0}, AmdPackage_754},
    {0x010F70, "SH-D0",  {0x0F, AmdCore_SH,  AmdRevision_D0, 0}, AmdPackage_939},
    {0x010FC0, "DH-D0",  {0x0F, AmdCore_DH,  AmdRevision_D0, 0}, AmdPackage_754},
    {0x010FF0, "DH-D0",  {0x0F, AmdCore_DH,  AmdRevision_D0, 0}, AmdPackage_939},
    {0x010F80, "CH-D0",  {0x0F, AmdCore_CH,  AmdRevision_D0, 0}, AmdPackage_754},
    {0x010FB0, "CH-D0",  {0x0F, AmdCore_CH,  AmdRevision_D0, 0}, AmdPackage_939},
    {0x020F10, "JH-E1",  {0x0F, AmdCore_JH,  AmdRevision_E1, 0}, AmdPackage_939},
    {0x020FF0, "DH-E3",  {0x0F, AmdCore_DH,  AmdRevision_E3, 0}, AmdPackage_939},
    {0x020FC0, "DH-E3",  {0x0F, AmdCore_DH,  AmdRevision_E3, 0}, AmdPackage_754},
    {0x020F51, "SH-E4",  {0x0F, AmdCore_SH,  AmdRevision_E4, 0}, AmdPackage_940},
    {0x020F71, "SH-E4",  {0x0F, AmdCore_SH,  AmdRevision_E4, 0}, AmdPackage_939},
    {0x020FB1, "BH-E4",  {0x0F, AmdCore_BH,  AmdRevision_E4, 0}, AmdPackage_939},
    {0x020F42, "SH-E5",  {0x0F, AmdCore_SH,  AmdRevision_E5, 0}, AmdPackage_754},
    {0x020FC2, "DH-E6",  {0x0F, AmdCore_DH,  AmdRevision_E6, 0}, AmdPackage_754},
    {0x020FF2, "DH-E6",  {0x0F, AmdCore_DH,  AmdRevision_E6, 0}, AmdPackage_939},
    {0x020F12, "JH-E6",  {0x0F, AmdCore_JH,  AmdRevision_E6, 0}, AmdPackage_940},
    {0x020F32, "JH-E6",  {0x0F, AmdCore_JH,  AmdRevision_E6, 0}, AmdPackage_939},
    {0x040F12, "JH-F2",  {0x0F, AmdCore_JH,  AmdRevision_F2, 0}, AmdPackage_F},
    {0x040F32, "JH-F2",  {0x0F, AmdCore_JH,  AmdRevision_F2, 0}, AmdPackage_AM2},
    {0x040F82, "BH-F2",  {0x0F, AmdCore_BH,  AmdRevision_F2, 0}, AmdPackage_S1g1},
    {0x040FB2, "BH-F2",  {0x0F, AmdCore_BH,  AmdRevision_F2, 0}, AmdPackage_AM2},
    {0x040FC2, "DH-F2",  {0x0F, AmdCore_DH,  AmdRevision_F2, 0}, AmdPackage_S1g1},
    {0x040FF2, "DH-F2",  {0x0F, AmdCore_DH,  AmdRevision_F2, 0}, AmdPackage_AM2},
    {0x050FF2, "DH-F2",  {0x0F, AmdCore_DH,  AmdRevision_F2, 0}, AmdPackage_AM2},
    {0x040F13, "JH-F3",  {0x0F, AmdCore_JH,  AmdRevision_F3, 0}, AmdPackage_F},
    {0x040F33, "JH-F3",  {0x0F, AmdCore_JH,  AmdRevision_F3, 0}, AmdPackage_AM2},
    {0x0C0F13, "JH-F3",  {0x0F, AmdCore_JH,  AmdRevision_F3, 0}, AmdPackage_F},
    {0x050FF3, "DH-F3",  {0x0F, AmdCore_DH,  AmdRevision_F3, 0}, AmdPackage_AM2},
    {0x060FB1, "BH-G1",  {0x0F, AmdCore_BH,  AmdRevision_G1, 0}, AmdPackage_AM2},
    {0x060F81, "BH-G1",  {0x0F, AmdCore_BH,  AmdRevision_G1, 0}, AmdPackage_S1g1},
    {0x060FF2, "DH-G1",  {0x0F, AmdCore_DH,  AmdRevision_G1, 0}, AmdPackage_other},
    {0x070FF1, "DH-G1",  {0x0F, AmdCore_DH,  AmdRevision_G1, 0}, AmdPackage_AM2},
    {0x060FB2, "BH-G2",  {0x0F, AmdCore_BH,  AmdRevision_G2, 0}, AmdPackage_AM2},
    {0x060F82, "BH-G2",  {0x0F, AmdCore_BH,  AmdRevision_G2, 0}, AmdPackage_S1g1},
    {0x060FC2, "DH-G2",  {0x0F, AmdCore_DH,  AmdRevision_G2, 0}, AmdPackage_S1g1},
    {0x070FC2, "DH-G2",  {0x0F, AmdCore_DH,  AmdRevision_G2, 0}, AmdPackage_S1g1},
    {0x070FF2, "DH-G2",  {0x0F, AmdCore_DH,  AmdRevision_G2, 0}, AmdPackage_other},
    {0x100F00, "DR-A0",  {0x10, AmdCore_DR,  AmdRevision_A0, 0}, AmdPackage_other},
    {0x100F01, "DR-A1",  {0x10, AmdCore_DR,  AmdRevision_A1, 0}, AmdPackage_other},
    {0x100F02, "DR-A2",  {0x10, AmdCore_DR,  AmdRevision_A2, 0}, AmdPackage_other},
    {0x100F22, "DR-B2",  {0x10, AmdCore_DR,  AmdRevision_B2, 0}, AmdPackage_F},
    {0x100F23, "DR-B3",  {0x10, AmdCore_DR,  AmdRevision_B3, 0}, AmdPackage_other},
    {0x100F2A, "DR-BA",  {0x10, AmdCore_DR,  AmdRevision_BA, 0}, AmdPackage_F},
    {0x100F42, "RB-C2",  {0x10, AmdCore_RB,  AmdRevision_C2, 0}, AmdPackage_other},
    {0x100F52, "BL-C2",  {0x10, AmdCore_BL,  AmdRevision_C2, 0}, AmdPackage_other},
    {0x100F53, "BL-C3",  {0x10, AmdCore_BL,  AmdRevision_C3, 0}, AmdPackage_other},
    {0x100F62, "DA-C2",  {0x10, AmdCore_DA,  AmdRevision_C2, 0}, AmdPackage_other},
    {0x100F80, "HY-D0",  {0x10, AmdCore_HY,  AmdRevision_D0, 0}, AmdPackage_other},
    {0x100F81, "HY-D1",  {0x10, AmdCore_HY,  AmdRevision_D1, 0}, AmdPackage_other},
    {0x100FA0, "PH-E0",  {0x10, AmdCore_PH,  AmdRevision_E0, 0}, AmdPackage_other},
    {0x200F31, "LG-B1",  {0x11, AmdCore_LG,  AmdRevision_B1, 0}, AmdPackage_other},
    {0x300F10, "LN1-B0", {0x12, AmdCore_LN1, AmdRevision_B0, 0}, AmdPackage_other},
    {0x600F12, "OR-B2",  {0x15, AmdCore_OR,  AmdRevision_B2, 0}, AmdPackage_other},
    {0x600F20, "OR-C0",  {0x15, AmdCore_OR,  AmdRevision_C0, 0}, AmdPackage_other},
    {0x610F01, "TN-A1",  {0x15, AmdCore_TN,  AmdRevision_A1, 0}, AmdPackage_other},
    {0x610F31, "RL-A1",  {0x15, AmdCore_RL,  AmdRevision_A1, 0}, AmdPackage_other},
    {0x630F01, "KV-A1",  {0x15, AmdCore_KV,  AmdRevision_A1, 0}, AmdPackage_other},
    {0x700F01, "KB-A1",  {0x16, AmdCore_KB,  AmdRevision_A1, 0}, AmdPackage_other},
};
// clang-format on

constexpr bool sameAmdSignature(const AmdRevisionRow& a, const AmdRevisionRow& b) {
    return a.signature == b.signature;
}

constexpr std::size_t amdSignaturePairs() {
    std::size_t pairs = 0;
    for (std::size_t i = 0; i < rowCount(amdRevisions); ++i) {
        for (std::size_t j = i + 1; j < rowCount(amdRevisions); ++j) {
            pairs += sameAmdSignature(amdRevisions[i], amdRevisions[j]) ? 1 : 0;
        }
    }
    return pairs;
}

static_assert(rowCount(amdRevisions) == 72);
static_assert(amdSignaturePairs() == 1 && sameAmdSignature(amdRevisions[0], amdRevisions[1]));
static_assert(rowsAscend(amdRevisions, [](auto& a, auto& b) { return a.revision.family <= b.revision.family; }));
// The display family of a row's signature is the row's: 0xF plus the extended family in bits 27 to 20.
static_assert(everyRow(amdRevisions, [](auto& row) {
    return row.revision.family == (row.signature >> 8 & 0xF) + (row.signature >> 20 & 0xFF);
}));

} // namespace libQuarrow::cpu
