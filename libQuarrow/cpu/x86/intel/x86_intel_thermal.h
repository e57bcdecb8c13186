#pragma once

#include <libQuarrow/cpu/x86/decode/MsrReader.h>

#include <cstdint>

// Private to the library: at which temperature, in degrees Celsius, the thermal control circuit of an Intel processor
// acts. False, with 0, where it is not known.

namespace libQuarrow::cpu {

class IntelIdentity;

bool intelTccTemperature(const IntelIdentity& intel, const MsrReader& readMsr, std::uint32_t& temperature);
// By processor number. Asking of another class is reported as misuse.
bool intelWolfdaleTccTemperature(const IntelIdentity& intel, std::uint32_t& temperature);
bool intelAtomTccTemperature(const IntelIdentity& intel, std::uint32_t& temperature);

} // namespace libQuarrow::cpu
