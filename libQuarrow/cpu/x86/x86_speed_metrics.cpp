#include <libQuarrow/cpu/x86/x86_speed_metrics.h>

#include <zel/Measurement.h>

#include <algorithm>

namespace libQuarrow::cpu {
namespace {

// "%f" text less the zeros at its end that lie after position `last`, and less a point that would stand there alone.
zel::String withoutTrailingZeros(const zel::String& text, std::size_t last) {
    std::size_t end = text.size();
    while (end > last + 1 && text[end - 1] == u'0') {
        --end;
    }
    if (end < text.size() && text[end - 1] == u'.') {
        --end;
    }
    return text.subString(0, end);
}

zel::String trimmedText(double value, unsigned int minDecimals) {
    zel::String text = zel::String::SprintfFormat("%f", value);
    const std::size_t point = text.find(".");
    if (point == zel::String::npos) {
        return text; // no number: nothing to trim
    }
    const std::size_t last = point + minDecimals;
    if (last >= text.size()) {
        return text + zel::String::repeat("0", last + 1 - text.size());
    }
    return withoutTrailingZeros(text, last);
}

} // namespace

// Inline already, but MinGW exports it from the library only where it is defined once more.
constexpr std::uint32_t x86_speed_metrics::trimmedPrecision;

zel::String x86_speed_metrics::getMultiplierString(double value, unsigned int precision, unsigned int minDecimals) {
    using zel::NonDiscreteMeasurement;
    if (precision == trimmedPrecision) {
        return trimmedText(value, minDecimals);
    }
    const NonDiscreteMeasurement multiplier(value, NonDiscreteMeasurement::MagnitudeOne,
                                            std::max(precision, minDecimals));
    return multiplier.toString(NonDiscreteMeasurement::FixedDecimals, NonDiscreteMeasurement::MagnitudeNone);
}

bool x86_speed_metrics::getCurrentMultiplierString(zel::String& out, bool withRange) const {
    out.clear();
    if (currentMultiplier != 0) {
        out = "x " + getMultiplierString(currentMultiplier, multiplierPrecision, 1);
        if (withRange && minMultiplier != 0 && maxMultiplier != 0 && minMultiplier != maxMultiplier) {
            out += " (" + getMultiplierString(minMultiplier, multiplierPrecision, 0) + " - " +
                   getMultiplierString(maxMultiplier, multiplierPrecision, 0) + ")";
        }
    }
    return !out.isEmpty();
}

} // namespace libQuarrow::cpu
