#pragma once

#include <libQuarrow/cpu/x86/x86_inst.h>
#include <zel/String.h>

#include <cstdint>

// Private to the library: who a processor is, from its CPUID leaves. What each answer means stands with the members of
// x86_inst.

namespace libQuarrow::cpu {

class CpuidReader;

std::uint32_t decodeMaxCpuid(CpuidReader& cpuid);
std::uint32_t decodeMaxExtendedCpuid(CpuidReader& cpuid);
x86_cpu_vendor decodeVendor(CpuidReader& cpuid);
zel::String decodeVendorName(CpuidReader& cpuid);
zel::String decodeCpuName(CpuidReader& cpuid);
std::uint32_t decodeLocalApicId(CpuidReader& cpuid);
bool decodeSignature(CpuidReader& cpuid, x86_cpu_signature& signature);

} // namespace libQuarrow::cpu
