#pragma once

#include <libQuarrow/cpu/x86/x86_feature_flags.h>

// Private to the library: which features a processor has and which of them may be used.

namespace libQuarrow::cpu {

class CpuidReader;

// The features that the library itself relies on: CPUID, MSR and TSC.
x86_feature_flags requiredFeatures();

// What the processor reports. A live reader executes at most fifteen CPUIDs, since every bound is asked for anew.
x86_feature_flags decodeSupportedFeatures(CpuidReader& cpuid);

// The required features that the processor has, and AVX and AVX2 where the operating system has enabled them.
x86_feature_flags decodeAllowedFeatures(CpuidReader& cpuid);

} // namespace libQuarrow::cpu
