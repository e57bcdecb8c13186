#pragma once

#include <libQuarrow/topology/features/FeatureSet.h>

#include <cstdint>
#include <optional>

// Private to the library: which features a processor has, from its CPUID leaves.

namespace libQuarrow::cpu {
class CpuidReader;
}

namespace libQuarrow::topology {

// Every flag that is set, whoever made the processor. Leaves and sub-leaves above their maxima are not read.
FeatureSet featuresOf(cpu::CpuidReader& cpuid);
// What of `features` a program may execute: that which is a program's, and whose register state XCR0 says the operating
// system saves. On Linux a program asks for AMX's tiles first (arch_prctl, ARCH_REQ_XCOMP_PERM).
FeatureSet usableOf(const FeatureSet& features, cpu::CpuidReader& cpuid);
// The x86-64 level, 1 to 4, that those features make up (x86-64 psABI, table of micro-architecture levels); none below
// that, as without 64 bits.
std::optional<std::uint32_t> levelOf(const FeatureSet& usable);

} // namespace libQuarrow::topology
