#pragma once

#include <libQuarrow/cpu/x86/x86_feature_flags.h>

// Private to the library: which features a processor has and which of them may be used.

namespace libQuarrow::cpu {

class CpuidReader;

// The features that the library itself relies on: CPUID, MSR and TSC.
x86_feature_flags requiredFeatures();

// Whether AVX, and AVX2, can be used: reported by the processor, and their registers saved by the operating system.
bool avxEnabled(CpuidReader& cpuid);
bool avx2Enabled(CpuidReader& cpuid);

// What the processor reports. Every bound is asked for anew: a live reader executes up to thirteen CPUIDs on an AMD
// processor and up to nine on any other.
x86_feature_flags decodeSupportedFeatures(CpuidReader& cpuid);

// The required features that the processor has, and AVX and AVX2 where the operating system has enabled them.
x86_feature_flags decodeAllowedFeatures(CpuidReader& cpuid);
// The same where what the processor reports is known already.
x86_feature_flags decodeAllowedFeatures(CpuidReader& cpuid, const x86_feature_flags& supported);

} // namespace libQuarrow::cpu
