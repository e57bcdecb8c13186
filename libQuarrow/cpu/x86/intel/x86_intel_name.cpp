#include <libQuarrow/cpu/x86/intel/x86_intel_name.h>

#include <libQuarrow/DefectLog.h>
#include <zel/Array.h>

namespace libQuarrow::cpu {

zel::String intelProcessorNumber(const zel::String& brand) {
    const std::size_t at = brand.reverseFind("@");
    if (at == zel::String::npos || at == 0) {
        return {};
    }
    const zel::String name = brand.subString(0, at).normalizeSpaces();
    const std::size_t blank = name.reverseFind(" ");
    if (blank == zel::String::npos) {
        return {};
    }
    const zel::String word = name.subString(blank).trim();
    return word == "CPU" ? zel::String() : word; // else the name ends without a number
}

bool intelDesignedFrequency(const zel::String& brand, std::uint32_t& mhz) {
    const std::size_t unit = brand.reverseFind("GHz");
    if (unit == zel::String::npos || unit == 0) {
        return false;
    }
    const zel::String before = brand.subString(0, unit);
    const std::size_t blank = before.reverseFind(" ");
    const zel::String number = blank == zel::String::npos ? before : before.subString(blank + 1);
    for (const char16_t character : number.units()) {
        if (character != u'.' && (character < u'0' || character > u'9')) {
            return false;
        }
    }
    const zel::Array<zel::String> parts = number.split(".");
    if (parts.size() != 2 || parts[1].size() > 3) {
        return false;
    }
    // In 32 bits: from 5 GHz on the product wraps, and must go on doing so for those who compare this figure.
    std::uint64_t hertz = std::uint32_t{parts[0].strToUInt(10) * 1000000000};
    std::uint64_t place = 1000000000;
    for (const char16_t digit : parts[1].units()) {
        place /= 10;
        hertz += place * (digit - u'0');
    }
    mhz = static_cast<std::uint32_t>(hertz / 1000000);
    return true;
}

bool isIntelNumberInList(const zel::String& number, const zel::String& list, IntelNumberMatch rule) {
    if (list.size() <= 1) {
        defectLog().log(zel::LogFailure, __LINE__, "Improper list format");
        return false;
    }
    const zel::Array<zel::String> entries = list.split(list.subString(0, 1)); // the first one is empty
    for (std::size_t i = 1; i < entries.size(); ++i) {
        switch (rule) {
        case IntelNumberMatch::Exact:
            if (number == entries[i]) {
                return true;
            }
            break;
        case IntelNumberMatch::Prefix:
            if (number.startsWith(entries[i])) {
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
