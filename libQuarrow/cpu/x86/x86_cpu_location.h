#pragma once

#include <libQuarrow/quarrow_export.h>
#include <zel/String.h>

#include <cstdint>

namespace libQuarrow::cpu {

// Where a logical processor sits. 0xFFFFFFFF in a field means unspecified and is written "*".
class QUARROW_EXPORT x86_cpu_location {
  public:
    static constexpr std::uint32_t unspecified = 0xFFFFFFFF;
    // In a depth: also compare unspecified fields as equal to anything.
    static constexpr std::uint32_t matchWildcards = 0x80000000;

    x86_cpu_location() = default;
    x86_cpu_location(std::uint32_t chassisNumber, std::uint32_t nodeNumber, std::uint32_t cpuNumber,
                     std::uint32_t coreNumber, std::uint32_t threadNumber)
        : chassis(chassisNumber), node(nodeNumber), cpu(cpuNumber), core(coreNumber), thread(threadNumber) {}

    std::uint32_t chassis = 0; // always 0 as decoded
    std::uint32_t node = 0;    // always 0 as decoded
    std::uint32_t cpu = 0;     // physical package
    std::uint32_t core = 0;    // core in the package
    std::uint32_t thread = 0;  // hardware thread in the core

    // Whether the fields that `depth` selects are equal: bit 0 chassis, 1 node, 2 cpu, 3 core, 4 thread. A depth that
    // is 0 selects nothing, and the answer is false.
    bool equals(const x86_cpu_location& other, std::uint32_t depth) const;
    bool operator==(const x86_cpu_location& other) const;
    bool operator!=(const x86_cpu_location& other) const { return !(*this == other); }
    bool operator<(const x86_cpu_location& other) const; // field by field, outermost first

    // "CPU:0:0:1:2:0", outermost first. Unspecified fields at the inner end are left out unless `showWildcards`.
    zel::String toString(bool showWildcards) const;
    // Reads "CPU" and up to five fields, each a decimal number or "*"; missing ones are unspecified. Of a field that is
    // neither, the leading digits count, and empty fields are passed over. False, with the location unchanged, for a
    // text that does not begin with "CPU" or has more fields.
    bool fromString(const zel::String& text);

  private:
    void getLocationVector(std::uint32_t (&out)[5]) const;
    void setLocationVector(const std::uint32_t (&in)[5]);
};

} // namespace libQuarrow::cpu
