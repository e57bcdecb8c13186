#pragma once

#include <libQuarrow/cpu/x86/x86_cache.h>
#include <libQuarrow/cpu/x86/x86_vendor_info.h>
#include <libQuarrow/quarrow_export.h>
#include <zel/SharedResource.h>
#include <zel/String.h>

#include <cstdint>

namespace libQuarrow::cpu {

class AMD_Perf;

// Dies, by the two or three letters that AMD's revision guides give them: the first half of "SH-CG".
enum AmdCoreCode : std::uint32_t {
    AmdCore_unknown = 0,
    AmdCore_BH = 1,
    AmdCore_BL = 2,
    AmdCore_CH = 3,
    AmdCore_DA = 4,
    AmdCore_DH = 5,
    AmdCore_DR = 6,
    AmdCore_HY = 7,
    AmdCore_JH = 8,
    AmdCore_KB = 9,
    AmdCore_KV = 10,
    AmdCore_LG = 11,
    AmdCore_PH = 12,
    AmdCore_RB = 13,
    AmdCore_RL = 14,
    AmdCore_SH = 15,
    AmdCore_TN = 16,
    AmdCore_LN1 = 17,
    AmdCore_OR = 18,
};

// Revisions of a die: the second half of "SH-CG". All families share the codes.
enum AmdRevisionCode : std::uint32_t {
    AmdRevision_unknown = 0,
    AmdRevision_A0 = 1,
    AmdRevision_A1 = 2,
    AmdRevision_A2 = 3,
    AmdRevision_B0 = 4,
    AmdRevision_B1 = 5,
    AmdRevision_B2 = 6,
    AmdRevision_B3 = 7,
    AmdRevision_BA = 8,
    AmdRevision_C0 = 9,
    AmdRevision_C2 = 10,
    AmdRevision_C3 = 11,
    AmdRevision_CG = 12,
    AmdRevision_D0 = 13,
    AmdRevision_D1 = 14,
    AmdRevision_E0 = 16,
    AmdRevision_E1 = 17,
    AmdRevision_E3 = 18,
    AmdRevision_E4 = 19,
    AmdRevision_E5 = 20,
    AmdRevision_E6 = 21,
    AmdRevision_F2 = 23,
    AmdRevision_F3 = 24,
    AmdRevision_G1 = 25,
    AmdRevision_G2 = 26,
};

struct QUARROW_EXPORT AmdCpuRevision {
    std::uint32_t family = 0;       // display family
    std::uint32_t coreCode = 0;     // AmdCoreCode
    std::uint32_t revisionCode = 0; // AmdRevisionCode
    std::uint32_t reserved = 0;     // always 0
};

// Package (socket) types. The values are this library's own. 5, 6, 10 and 11 are in use too but have no name: the
// package type field that gives them stands for different sockets in different families. 8 and 9 are not in use.
enum AmdPackageType : std::uint32_t {
    AmdPackage_754 = 0,
    AmdPackage_940 = 1,
    AmdPackage_939 = 2,
    AmdPackage_F = 3, // 1207 contacts
    AmdPackage_AM2 = 4,
    AmdPackage_S1g1 = 7,
    AmdPackage_G34 = 12,
    AmdPackage_C32 = 13,
    AmdPackage_FT3 = 14,
    AmdPackage_FS1b = 15,
    AmdPackage_other = 16, // another one, or not known
};

enum AmdProcessorBSPType : std::uint32_t {
    AmdBSP_unknown = 0,
    AmdBSP_bootstrap = 1,   // the processor that started the machine
    AmdBSP_application = 2, // one of the others
};

// An AMD processor: its revision, its package and its caches.
//
// The revision and package are worked out once, by the constructor, from the signature (CPUID leaf 1) and, for later
// families, the package type field of leaf 0x80000001. Queries that read the processor do so on it, through the
// x86_cpu, which must outlive this object.
class QUARROW_EXPORT x86_amd_info : public x86_vendor_info {
  public:
    explicit x86_amd_info(const x86_cpu& cpu);

    // Where the signature is not known, only the family is filled in.
    const AmdCpuRevision& getCpuRevision() const { return m_revision; }
    AmdPackageType getPackageType() const { return m_packageType; }
    // Die and revision, such as "SH-CG". False, with an empty text, when they are not known.
    bool getRevisionString(zel::String& text) const override;
    // Whether this is the bootstrap processor: bit 8 of the APIC base register (MSR 0x1B). Families 15 and 16 only, and
    // only where that register can be read.
    AmdProcessorBSPType isBSP() const;

    // Adds the caches of this processor: from CPUID leaf 0x8000001D where there is one, else from leaves 0x80000005 and
    // 0x80000006, which do not say who shares a cache. True when `caches` is not empty afterwards.
    bool getCaches(x86_caches& caches) const override;
    // Multipliers and speeds: from the family's P-state registers where a driver gives access to them, else what CPUID
    // leaves 0x15 and 0x16 tell. False, with `metrics` untouched, when the time-stamp counter's rate cannot be measured
    // (x86_cpu::calculateSpeedTSC), which is tried first, or nothing is known.
    bool getSpeedMetrics(x86_speed_metrics& metrics) const override;

  private:
    AmdPackageType packageTypeByLeaf(std::uint32_t family) const;
    bool getCacheTopologyInfo(x86_caches& caches) const;
    void appendL1Caches(x86_caches& caches) const;
    void appendL2AndL3Caches(x86_caches& caches) const;
    x86_CacheAssociativity getL1CacheAssoc(std::uint32_t code) const;
    x86_CacheAssociativity getL2OrL3CacheAssoc(std::uint32_t code) const;
    void determineCacheSharingByCPUType(x86_caches& caches) const;
    void getSpeedMetricsFamilyF(std::uint64_t tsc, x86_speed_metrics& metrics) const;

    const x86_cpu* m_cpu; // not owned
    AmdCpuRevision m_revision;
    const char* m_revisionText = nullptr; // null when not known
    AmdPackageType m_packageType = AmdPackage_other;
    mutable zel::SharedResource<zel::PointerStorage<AMD_Perf>> m_perf; // made by the first speed query; copies share it
};

} // namespace libQuarrow::cpu
