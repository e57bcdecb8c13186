#pragma once

#include <libQuarrow/cpu/x86/decode/MsrReader.h>

#include <cstdint>

// Private to the library: how fast an Intel processor runs.

namespace libQuarrow::cpu {

class CpuidReader;
class IntelIdentity;
struct x86_speed_metrics;

// Fills in bus clock, multipliers, turbo ratio and their speeds as far as the registers of its generation tell them.
// `cores` are those of the package.
void readIntelSpeed(IntelIdentity& intel, std::uint32_t cores, CpuidReader& cpuid, const MsrReader& readMsr,
                    x86_speed_metrics& metrics);

} // namespace libQuarrow::cpu
