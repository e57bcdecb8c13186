#pragma once

#include <libQuarrow/cpu/x86/decode/fields/CpuidField.h>

// Private to the library: the feature flags of leaves that few makers have. Sources stand above each group of rows.

namespace libQuarrow::cpu {

// clang-format off
inline constexpr CpuidField otherCpuidFlags[] = {
    // Intel Xeon Phi system software developer's guide, leaf 0x20000001
    flag(0x20000001, 0, CpuidRegister::edx,  0, "k1om",        "Knights Corner instructions"),
    // Transmeta, processor recognition, leaf 0x80860001
    flag(0x80860001, 0, CpuidRegister::edx,  0, "recovery",    "Recovery mode"),
    flag(0x80860001, 0, CpuidRegister::edx,  1, "longrun",     "LongRun power management"),
    flag(0x80860001, 0, CpuidRegister::edx,  3, "lrti",        "LongRun table interface"),
    // VIA and Zhaoxin, PadLock and Gm programming guides, leaf 0xC0000001
    flag(0xC0000001, 0, CpuidRegister::edx,  0, "sm2",         "SM2 present"),
    flag(0xC0000001, 0, CpuidRegister::edx,  1, "sm2_en",      "SM2 enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx,  2, "rng",         "Random number generator present"),
    flag(0xC0000001, 0, CpuidRegister::edx,  3, "rng_en",      "Random number generator enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx,  4, "ccs",         "SM3 and SM4 present"),
    flag(0xC0000001, 0, CpuidRegister::edx,  5, "ccs_en",      "SM3 and SM4 enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx,  6, "ace",         "Advanced cryptography engine present"),
    flag(0xC0000001, 0, CpuidRegister::edx,  7, "ace_en",      "Advanced cryptography engine enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx,  8, "ace2",        "Advanced cryptography engine 2 present"),
    flag(0xC0000001, 0, CpuidRegister::edx,  9, "ace2_en",     "Advanced cryptography engine 2 enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx, 10, "phe",         "Hash engine present"),
    flag(0xC0000001, 0, CpuidRegister::edx, 11, "phe_en",      "Hash engine enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx, 12, "pmm",         "Montgomery multiplier present"),
    flag(0xC0000001, 0, CpuidRegister::edx, 13, "pmm_en",      "Montgomery multiplier enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx, 16, "parallax",    "Adaptive power control present"),
    flag(0xC0000001, 0, CpuidRegister::edx, 17, "parallax_en", "Adaptive power control enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx, 20, "tm3",         "Thermal monitor 3 present"),
    flag(0xC0000001, 0, CpuidRegister::edx, 21, "tm3_en",      "Thermal monitor 3 enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx, 22, "rng2",        "Second random number generator present"),
    flag(0xC0000001, 0, CpuidRegister::edx, 23, "rng2_en",     "Second random number generator enabled"),
    flag(0xC0000001, 0, CpuidRegister::edx, 25, "phe2",        "Second hash engine present"),
    flag(0xC0000001, 0, CpuidRegister::edx, 26, "phe2_en",     "Second hash engine enabled"),
};
// clang-format on
static_assert(fieldsAscend(otherCpuidFlags));

} // namespace libQuarrow::cpu
