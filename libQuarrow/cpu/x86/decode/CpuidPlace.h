#pragma once

#include <libQuarrow/cpu/x86/decode/fields/named_fields.h>
#include <libQuarrow/machine/bits.h>
#include <libQuarrow/machine/cpuid_args.h>

#include <cstdint>
#include <stdexcept>

// Private to the library: fields of CPUID's answers by name. The compiler finds the bits, so that reading a field is a
// shift and a mask:
//
//   valueAt<placeOf(0x80000008, "linear_address_bits")>(cpuid.read(0x80000008))

namespace libQuarrow::cpu {

constexpr std::uint32_t cpuid_args::*registerOf(CpuidRegister reg) {
    switch (reg) {
    case CpuidRegister::eax:
        return &cpuid_args::eax;
    case CpuidRegister::ebx:
        return &cpuid_args::ebx;
    case CpuidRegister::ecx:
        return &cpuid_args::ecx;
    default:
        return &cpuid_args::edx;
    }
}

// Register, lowest and highest bit as one number, which is what a template takes.
enum class CpuidPlace : std::uint32_t {};

constexpr CpuidRegister registerAt(CpuidPlace place) {
    return static_cast<CpuidRegister>(static_cast<std::uint32_t>(place) >> 16);
}
constexpr std::uint8_t highestBitAt(CpuidPlace place) {
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(place) >> 8);
}
constexpr std::uint8_t lowestBitAt(CpuidPlace place) {
    return static_cast<std::uint8_t>(place);
}

constexpr CpuidPlace placeOf(std::uint32_t leaf, std::uint32_t subleaf, const char* name) {
    const CpuidField& field = fieldNamed(leaf, subleaf, name);
    const std::uint32_t highestBit = field.lowestBit + field.width - 1u;
    return CpuidPlace{static_cast<std::uint32_t>(field.reg) << 16 | highestBit << 8 | field.lowestBit};
}
constexpr CpuidPlace placeOf(std::uint32_t leaf, const char* name) {
    return placeOf(leaf, 0, name);
}
// Of a flag or another field of one bit.
constexpr CpuidPlace bitPlaceOf(std::uint32_t leaf, std::uint32_t subleaf, const char* name) {
    const CpuidPlace place = placeOf(leaf, subleaf, name);
    return highestBitAt(place) == lowestBitAt(place) ? place : throw std::logic_error("the field has several bits");
}
// Of what two leaves have in the same place.
constexpr CpuidPlace common(CpuidPlace a, CpuidPlace b) {
    return a == b ? a : throw std::logic_error("the fields stand in two places");
}

template <CpuidPlace place>
constexpr std::uint32_t valueAt(const cpuid_args& registers) {
    return bits(registers.*registerOf(registerAt(place)), highestBitAt(place), lowestBitAt(place));
}
template <CpuidPlace place>
constexpr void clearAt(cpuid_args& registers) {
    registers.*registerOf(registerAt(place)) &=
        ~(0xFFFFFFFF >> (31 - highestBitAt(place) + lowestBitAt(place)) << lowestBitAt(place));
}

} // namespace libQuarrow::cpu
