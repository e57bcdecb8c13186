#include <libQuarrow/cpu/x86/x86_intel_info.h>

#include <libQuarrow/DefectLog.h>
#include <libQuarrow/cpu/x86/intel/x86_intel_steppings.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint32_t msrPlatformId = 0x17; // IA32_PLATFORM_ID

// 45 nm Core 2 signatures that were sold in several steppings. 0x1067B looks like one of them but must stay out: it
// goes by its signature, which has no row, so that its stepping is unknown whatever its number.
bool steppingNeedsProcessorNumber(std::uint32_t signature) {
    return signature == 0x10676 || signature == 0x10677 || signature == 0x1067A;
}

} // namespace

x86_intel_info::x86_intel_info(const x86_cpu& cpu)
    : m_cpu(&cpu), m_signature(cpu.getSignature()), m_brandString(cpu.getCpuName()) {
    findType();
    if (!getCpuDesignedFrequency(m_designedFrequency)) {
        m_designedFrequency = 0;
    }
    getProcessorNumber(m_processorNumber);
    findRevision();
}

void x86_intel_info::findRevision() {
    const auto set = [this](IntelCoreStepping stepping) {
        m_revision = stepping;
        m_revisionString = intelSteppingTexts[stepping];
    };
    if (steppingNeedsProcessorNumber(m_signature.signature)) {
        for (const SteppingByProcessorNumber& row : steppingByProcessorNumber) {
            if (row.signature == m_signature.signature && m_processorNumber == row.processorNumber) {
                set(row.stepping);
            }
        }
        return;
    }
    for (const SteppingBySignature& row : steppingBySignature) {
        if (row.signature == m_signature.signature) {
            set(row.stepping);
            return;
        }
    }
}

bool x86_intel_info::getRevisionString(zel::String& text) const {
    text = m_revisionString;
    return !text.isEmpty();
}

// With `refresh` the register is read again; when that fails, what was read earlier still holds.
bool x86_intel_info::getPlatformId(std::uint64_t& value, bool refresh) const {
    std::uint64_t read = 0;
    if ((refresh || !m_platformIdRead) && m_cpu->callRDMSR(msrPlatformId, read)) {
        m_platformId = read;
        m_platformIdRead = true;
    }
    if (!m_platformIdRead || !*m_platformIdRead) {
        return false;
    }
    value = m_platformId;
    return true;
}

bool x86_intel_info::getProcessorNumber(zel::String& number) const {
    if (!isType(CoreDuoSoloFamily | Core2Family | NehalemFamily | Atom | CloverTrail)) {
        return false;
    }
    number.clear();
    const std::size_t at = m_brandString.reverseFind("@");
    if (at == zel::String::npos || at == 0) {
        return false;
    }
    const zel::String name = m_brandString.subString(0, at).normalizeSpaces();
    const std::size_t blank = name.reverseFind(" ");
    if (blank == zel::String::npos) {
        return false;
    }
    const zel::String word = name.subString(blank).trim();
    if (word == "CPU") {
        return false; // the name ends without a number
    }
    number = word;
    return true;
}

bool x86_intel_info::getCpuDesignedFrequency(std::uint32_t& mhz) const {
    const std::size_t unit = m_brandString.reverseFind("GHz");
    if (unit == zel::String::npos || unit == 0) {
        return false;
    }
    const zel::String before = m_brandString.subString(0, unit);
    const std::size_t blank = before.reverseFind(" ");
    const zel::String number = blank == zel::String::npos ? before : before.subString(blank + 1);
    for (const char16_t unitOfText : number.units()) {
        if (unitOfText != u'.' && (unitOfText < u'0' || unitOfText > u'9')) {
            return false;
        }
    }
    const zel::Array<zel::String> parts = number.split(".");
    if (parts.size() != 2 || parts[1].size() > 3) {
        return false;
    }
    // In 32 bits on purpose: from 5 GHz on the product wraps, and must go on doing so for those who compare this
    // figure.
    std::uint64_t hertz = std::uint32_t{parts[0].strToUInt(10) * 1000000000};
    std::uint64_t place = 1000000000;
    for (const char16_t digit : parts[1].units()) {
        place /= 10;
        hertz += place * (digit - u'0');
    }
    mhz = static_cast<std::uint32_t>(hertz / 1000000);
    return true;
}

bool x86_intel_info::processorNumberInList(const zel::String& list, MatchRule rule) const {
    if (list.size() <= 1) {
        defectLog().log(zel::LogFailure, __LINE__, "Improper list format");
        return false;
    }
    const zel::Array<zel::String> entries = list.split(list.subString(0, 1)); // the first one is empty
    for (std::size_t i = 1; i < entries.size(); ++i) {
        switch (rule) {
        case MatchExact:
            if (m_processorNumber == entries[i]) {
                return true;
            }
            break;
        case MatchPrefix:
            if (m_processorNumber.startsWith(entries[i])) {
                return true;
            }
            break;
        default:
            defectLog().log(zel::LogFailure, __LINE__, "Unknown match rule");
            return false;
        }
    }
    return false;
}

} // namespace libQuarrow::cpu
