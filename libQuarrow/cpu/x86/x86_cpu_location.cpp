#include <libQuarrow/cpu/x86/x86_cpu_location.h>

#include <zel/Array.h>

#include <algorithm>
#include <iterator>

namespace libQuarrow::cpu {

void x86_cpu_location::getLocationVector(std::uint32_t (&out)[5]) const {
    out[0] = chassis;
    out[1] = node;
    out[2] = cpu;
    out[3] = core;
    out[4] = thread;
}

void x86_cpu_location::setLocationVector(const std::uint32_t (&in)[5]) {
    chassis = in[0];
    node = in[1];
    cpu = in[2];
    core = in[3];
    thread = in[4];
}

// A depth of 0 compares nothing and is still no match, not the match that an empty list of conditions
// would be. Callers depend on it; it must stay.
bool x86_cpu_location::equals(const x86_cpu_location& other, std::uint32_t depth) const {
    if (depth == 0) {
        return false;
    }
    std::uint32_t left[5];
    std::uint32_t right[5];
    getLocationVector(left);
    other.getLocationVector(right);
    for (std::uint32_t i = 0; i < 5; ++i) {
        const bool wild = (depth & matchWildcards) != 0 && (left[i] == unspecified || right[i] == unspecified);
        if ((depth >> i & 1U) != 0 && left[i] != right[i] && !wild) {
            return false;
        }
    }
    return true;
}

bool x86_cpu_location::operator==(const x86_cpu_location& other) const {
    return equals(other, 0x1F);
}

bool x86_cpu_location::operator<(const x86_cpu_location& other) const {
    std::uint32_t left[5];
    std::uint32_t right[5];
    getLocationVector(left);
    other.getLocationVector(right);
    return std::lexicographical_compare(std::begin(left), std::end(left), std::begin(right), std::end(right));
}

zel::String x86_cpu_location::toString(bool showWildcards) const {
    std::uint32_t fields[5];
    getLocationVector(fields);
    zel::String text;
    text.reserve(15);
    for (std::size_t i = 5; i-- > 0;) {
        if (fields[i] != unspecified) {
            text = zel::String::SprintfFormat(":%u", fields[i]) + text;
        } else if (showWildcards || !text.isEmpty()) {
            text = zel::String(":*") + text;
        }
    }
    return zel::String("CPU") + text;
}

bool x86_cpu_location::fromString(const zel::String& text) {
    const zel::Array<zel::String> tokens = text.tokenize(":");
    if (tokens.isEmpty() || tokens.size() > 6 || tokens[0] != "CPU") {
        return false;
    }
    std::uint32_t fields[5];
    for (std::size_t i = 0; i < 5; ++i) {
        const bool given = i + 1 < tokens.size() && tokens[i + 1] != "*";
        fields[i] = given ? tokens[i + 1].strToUInt(10) : unspecified;
    }
    setLocationVector(fields);
    return true;
}

} // namespace libQuarrow::cpu
