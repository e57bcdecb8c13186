#include <libQuarrow/document/ProcessorWords.h>

#include <algorithm>
#include <utility>

namespace libQuarrow::document {
namespace {

bool isControl(char16_t unit) {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

} // namespace

std::string printable(const zel::String& text) {
    std::u16string units = text.units();
    std::replace_if(
        units.begin(), units.end(), [](char16_t unit) { return unit != u'\n' && isControl(unit); }, u'\uFFFD');
    return zel::String(std::move(units)).toUtf8();
}

std::string processorName(const topology::ProcessorIdentity& identity) {
    if (!identity.brand.empty()) {
        return printable(zel::String::fromUtf8(identity.brand).normalizeSpaces());
    }
    const std::string maker = identity.vendor.empty() ? "unknown maker" : identity.vendor;
    return printable(zel::String::fromUtf8(maker)) + zel::String::SprintfFormat(" family %u model %u stepping %u",
                                                                                identity.family, identity.model,
                                                                                identity.stepping)
                                                         .toUtf8();
}

std::string affinityText(const topology::Processor& processor) {
    return zel::String::SprintfFormat("%u:%016I64Xh", unsigned{processor.group}, std::uint64_t{1} << processor.bit)
        .toUtf8();
}

} // namespace libQuarrow::document
