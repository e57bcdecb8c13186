// Any bytes as the texts that people type: numbers, affinities, locations.

#include <libQuarrow/cpu/WinAffinity.h>
#include <libQuarrow/cpu/x86/x86_cpu_location.h>
#include <zel/Array.h>
#include <zel/String.h>

#include <tests/fuzz/Require.h>

#include <cstdint>

using libQuarrow::cpu::WinAffinity;
using libQuarrow::cpu::x86_cpu_location;
using zel::String;

namespace {

void checkNumbers(const String& text) {
    std::uint16_t small = 0xABCD;
    std::uint64_t large = 0xABCD;
    const bool isSmall = text.toUint16(small) != String::PARSE_FAILED;
    const bool isLarge = text.toUint64(large) != String::PARSE_FAILED;
    require(isSmall == (isLarge && large <= 0xFFFF), "16 bits are what fits of 64");
    require(isSmall ? small == large : small == 0xABCD, "both read the same number, a failure leaves it alone");
    require(isLarge || large == 0xABCD, "a failure leaves the number alone");
}

void checkAffinity(const String& text) {
    const auto affinity = WinAffinity::fromString(text);
    if (affinity) {
        const auto again = WinAffinity::fromString(affinity->toString());
        require(again && *again == *affinity, "an affinity's text reads back the same");
    }
}

void checkLocation(const String& text) {
    x86_cpu_location location;
    if (location.fromString(text)) {
        x86_cpu_location again;
        require(again.fromString(location.toString(true)) && again == location,
                "a location's text reads back the same");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view raw(reinterpret_cast<const char*>(bytes), size);
    const String text = String::fromUtf8(raw);
    require(String::fromUtf8(text.toUtf8()) == text, "what UTF-8 gave reads back the same");
    checkNumbers(text);
    checkAffinity(text);
    checkLocation(text);
    text.normalizeSpaces();
    text.tokenize(" ,");
    return 0;
}
