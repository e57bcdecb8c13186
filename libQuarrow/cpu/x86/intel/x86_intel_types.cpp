// Which product classes an Intel processor is of, and the process it was made in.

#include <libQuarrow/cpu/x86/intel/x86_intel_types.h>

#include <libQuarrow/cpu/x86/intel/x86_intel_log.h>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint64_t platformIdBit27 = std::uint64_t{1} << 27;
constexpr std::uint64_t platformIdMobile = std::uint64_t{1} << 28;

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

void x86_intel_info::findType() {
    addTypesBySignature();
    addTypesByDisplayModel();
    if (m_signature.signature == 0x30651) {
        m_type |= CloverTrail;
    }
    addMerom();
    std::uint64_t platformId = 0;
    if (isType(CoreDuoSoloFamily | Core2Family) && getPlatformId(platformId, false)) {
        m_platformIdBit27Clear = (platformId & platformIdBit27) == 0;
    }
    reportType();
}

void x86_intel_info::addTypesBySignature() {
    const std::uint32_t signature = m_signature.signature & ~0xFu;
    if (signature == 0x10670 || signature == 0x106D0) {
        m_type |= Core2Family;
        std::uint64_t platformId = 0;
        if (getPlatformId(platformId, false)) {
            m_mobile = (platformId & platformIdMobile) != 0;
            m_type |= *m_mobile ? Penryn : Wolfdale;
        }
    } else if (signature == 0x406E0 || signature == 0x506E0) {
        m_type |= m_signature.stepping < 8 ? Skylake : KabyLake;
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
// its limits are read as those of a Skylake.
void x86_intel_info::addTypesByDisplayModel() {
    if (m_signature.displayFamily == 15) {
        m_type |= Pentium4Family;
    }
    if (m_signature.displayFamily != 6) {
        return;
    }
    for (const IntelDisplayModelType& row : intelDisplayModelTypes) {
        if (row.displayModel == m_signature.displayModel) {
            m_type |= row.type;
        }
    }
    if (isType(CoreDuoSoloFamily)) {
        m_mobile = true;
    }
}

void x86_intel_info::addMerom() {
    if (!isType(Core2Family)) {
        return;
    }
    getProcessorNumber(m_processorNumber);
    for (const char* number : meromProcessorNumbers) {
        if (m_processorNumber == number) {
            m_type |= Merom;
            m_mobile = true;
        }
    }
}

zel::Array<zel::String> x86_intel_info::getTypeNames() const {
    zel::Array<zel::String> names;
    for (const IntelTypeName& row : intelTypeNames) {
        if (isType(row.type)) {
            names.append(row.name);
        }
    }
    return names;
}

void x86_intel_info::reportType() const {
    if (!intelLog().admits(zel::LogDiagnostic)) {
        return;
    }
    const zel::String types = m_type == 0 ? "Unknown" : zel::String::join(getTypeNames(), " | ");
    intelLog().log(zel::LogDiagnostic, __LINE__,
                   "\n   CPU type       : " + types +
                       zel::String::SprintfFormat(
                           "\n   Signature      : %04Xh\n   Display Family : %04Xh\n   Display Model  : %04Xh",
                           m_signature.signature, m_signature.displayFamily, m_signature.displayModel));
}

bool x86_intel_info::getTechnologyString(zel::String& text) const {
    if (isType(Skylake | KabyLake | Braswell | BroadwellFamily)) {
        text = "14 nm";
    } else if (isType(HaswellFamily | IvyBridgeFamily | Silvermont)) {
        text = "22 nm";
    } else if (isType(WestmereCore | SandyBridgeFamily)) {
        text = "32 nm";
    } else if (isType(Penryn | Wolfdale | NehalemCore)) {
        text = "45 nm";
    } else if (isType(CoreDuoSoloFamily | Core2Family)) {
        const bool known = m_signature.displayModel == 14 || m_signature.displayModel == 15;
        text = known ? "65 nm" : "";
    } else if (m_signature.displayFamily == 15) {
        text = family15Technology(m_signature.displayModel);
    } else if (isType(Atom)) {
        text = "45 nm";
    } else if (isType(CloverTrail)) {
        text = "32 nm";
    } else {
        text = pentiumMTechnology(m_signature.signature);
    }
    return !text.isEmpty();
}

} // namespace libQuarrow::cpu
