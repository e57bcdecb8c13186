#pragma once

#include <cstdint>
#include <optional>
#include <tuple>

namespace libQuarrow::os {

// Between which frequencies the operating system runs a processor; each absent where it does not tell. On Linux
// cpufreq, whose highest one is with turbo where the driver knows of turbo and it is switched on.
struct SystemFrequencies {
    std::optional<std::uint64_t> lowestHertz;  // cpuinfo_min_freq
    std::optional<std::uint64_t> baseHertz;    // base_frequency; else acpi_cppc/nominal_freq
    std::optional<std::uint64_t> highestHertz; // cpuinfo_max_freq

    bool tellsAny() const { return lowestHertz || baseHertz || highestHertz; }
    auto all() const { return std::tie(lowestHertz, baseHertz, highestHertz); }
    friend bool operator==(const SystemFrequencies& a, const SystemFrequencies& b) { return a.all() == b.all(); }
    friend bool operator!=(const SystemFrequencies& a, const SystemFrequencies& b) { return !(a == b); }
};

} // namespace libQuarrow::os
