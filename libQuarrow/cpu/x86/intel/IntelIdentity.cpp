#include <libQuarrow/cpu/x86/intel/IntelIdentity.h>

#include <libQuarrow/cpu/x86/intel/x86_intel_log.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_steppings.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_type_tables.h>

namespace libQuarrow::cpu {
namespace {

using Type = x86_intel_info;

// 45 nm Core 2 signatures that were sold in several steppings. 0x1067B looks like one of them but goes by its
// signature, which has no row: its stepping has always been unknown whatever its number, and must stay so for those who
// compare.
bool steppingNeedsProcessorNumber(std::uint32_t signature) {
    return signature == 0x10676 || signature == 0x10677 || signature == 0x1067A;
}

zel::String family15Technology(unsigned int displayModel) {
    switch (displayModel) {
    case 0:
    case 1:
        return "0.18 um";
    case 2:
        return "0.13 um";
    case 3:
    case 4:
        return "90 nm";
    case 6:
        return "65 nm";
    default:
        return "";
    }
}

zel::String pentiumMTechnology(std::uint32_t signature) {
    switch (signature) {
    case 0x695:
        return "0.13 um";
    case 0x6D6:
    case 0x6D8:
        return "90 nm";
    default:
        return "";
    }
}

} // namespace

IntelIdentity::IntelIdentity(const x86_cpu_signature& signature, const zel::String& brand, const MsrReader& readMsr)
    : m_signature(signature), m_brand(brand) {
    addTypesBySignature(readMsr);
    addTypesByDisplayModel();
    if (m_signature.signature == 0x30651) {
        m_type |= Type::CloverTrail;
    }
    if (numbered()) {
        m_processorNumber = intelProcessorNumber(m_brand);
    }
    addMerom();
    if (isType(Type::CoreDuoSoloFamily | Type::Core2Family)) {
        if (const boost::optional<std::uint64_t>& id = platformId.get(readMsr)) {
            m_platformIdBit27Clear = !bit(*id, 27);
        }
    }
    report();
    intelDesignedFrequency(m_brand, m_designedMHz);
    m_stepping = findStepping();
}

bool IntelIdentity::numbered() const {
    return isType(Type::CoreDuoSoloFamily | Type::Core2Family | Type::NehalemFamily | Type::Atom | Type::CloverTrail);
}

void IntelIdentity::addTypesBySignature(const MsrReader& readMsr) {
    const std::uint32_t signature = m_signature.signature & ~0xFu;
    if (signature == 0x10670 || signature == 0x106D0) {
        m_type |= Type::Core2Family;
        if (const boost::optional<std::uint64_t>& id = platformId.get(readMsr)) {
            m_mobile = IntelPlatformId::isMobile(*id);
            m_type |= *m_mobile ? Type::Penryn : Type::Wolfdale;
        }
    } else if (signature == 0x406E0 || signature == 0x506E0) {
        m_type |= m_signature.stepping < 8 ? Type::Skylake : Type::KabyLake;
    }
    for (const IntelSignatureType& row : intelSignatureTypes) {
        if (row.signature == signature) {
            m_type |= row.types;
            if (row.die != IntelDie::NotTold) {
                m_serverDie = row.die == IntelDie::Server;
            }
        }
    }
}

// Adds to what the signature gave. A Kaby Lake of display model 78 or 94 is therefore Skylake too, and must stay both:
// users know it by both names, and its limits are read as those of a Skylake.
void IntelIdentity::addTypesByDisplayModel() {
    if (m_signature.displayFamily == 15) {
        m_type |= Type::Pentium4Family;
    }
    if (m_signature.displayFamily != 6) {
        return;
    }
    for (const IntelDisplayModelType& row : intelDisplayModelTypes) {
        if (row.displayModel == m_signature.displayModel) {
            m_type |= row.type;
        }
    }
    if (isType(Type::CoreDuoSoloFamily)) {
        m_mobile = true;
    }
}

void IntelIdentity::addMerom() {
    if (!isType(Type::Core2Family)) {
        return;
    }
    for (const char* number : meromProcessorNumbers) {
        if (m_processorNumber == number) {
            m_type |= Type::Merom;
            m_mobile = true;
        }
    }
}

zel::Array<zel::String> IntelIdentity::typeNames() const {
    zel::Array<zel::String> names;
    for (const IntelTypeName& row : intelTypeNames) {
        if (isType(row.type)) {
            names.append(row.name);
        }
    }
    return names;
}

void IntelIdentity::report() const {
    if (!intelLog().admits(zel::LogDiagnostic)) {
        return;
    }
    const zel::String types = m_type == 0 ? "Unknown" : zel::String::join(typeNames(), " | ");
    intelLog().log(zel::LogDiagnostic, __LINE__,
                   "\n   CPU type       : " + types +
                       zel::String::SprintfFormat(
                           "\n   Signature      : %04Xh\n   Display Family : %04Xh\n   Display Model  : %04Xh",
                           m_signature.signature, m_signature.displayFamily, m_signature.displayModel));
}

zel::String IntelIdentity::technology() const {
    if (isType(Type::Skylake | Type::KabyLake | Type::Braswell | Type::BroadwellFamily)) {
        return "14 nm";
    }
    if (isType(Type::HaswellFamily | Type::IvyBridgeFamily | Type::Silvermont)) {
        return "22 nm";
    }
    if (isType(Type::WestmereCore | Type::SandyBridgeFamily)) {
        return "32 nm";
    }
    if (isType(Type::Penryn | Type::Wolfdale | Type::NehalemCore)) {
        return "45 nm";
    }
    if (isType(Type::CoreDuoSoloFamily | Type::Core2Family)) {
        const bool known = m_signature.displayModel == 14 || m_signature.displayModel == 15;
        return known ? "65 nm" : "";
    }
    if (m_signature.displayFamily == 15) {
        return family15Technology(m_signature.displayModel);
    }
    if (isType(Type::Atom)) {
        return "45 nm";
    }
    return isType(Type::CloverTrail) ? zel::String("32 nm") : pentiumMTechnology(m_signature.signature);
}

IntelCoreStepping IntelIdentity::findStepping() const {
    IntelCoreStepping stepping = IntelStepping_unknown;
    if (steppingNeedsProcessorNumber(m_signature.signature)) {
        for (const SteppingByProcessorNumber& row : steppingByProcessorNumber) {
            if (row.signature == m_signature.signature && m_processorNumber == row.processorNumber) {
                stepping = row.stepping;
            }
        }
        return stepping;
    }
    for (const SteppingBySignature& row : steppingBySignature) {
        if (row.signature == m_signature.signature) {
            return row.stepping;
        }
    }
    return stepping;
}

} // namespace libQuarrow::cpu
