#pragma once

#include <libQuarrow/topology/names/NameRow.h>

// Private to the library: names of the processors of the smaller makers. Sources: NameSource says.

namespace libQuarrow::topology {

// clang-format off
//   family, models, steppings, microarchitecture, codename, process, source

// "CentaurHauls": IDT, VIA, and Zhaoxin, which also answers "  Shanghai  ".
constexpr NameRow centaurNames[] = {
    {0x05, 0x04, 0x04, 0, 15, "WinChip",    "C6",               "350 nm", NameSource::Press},
    {0x05, 0x08, 0x08, 0, 15, "WinChip",    "WinChip 2",        "350 nm", NameSource::Press},
    {0x05, 0x09, 0x09, 0, 15, "WinChip",    "WinChip 3",        nullptr,  NameSource::Cpuid},
    {0x06, 0x06, 0x06, 0, 15, "C3",         "Samuel",           "180 nm", NameSource::Cpuid},
    {0x06, 0x07, 0x07, 0,  7, "C3",         "Samuel 2",         "150 nm", NameSource::Cpuid},
    {0x06, 0x07, 0x07, 8, 15, "C3",         "Ezra",             "130 nm", NameSource::Cpuid},
    {0x06, 0x08, 0x08, 0, 15, "C3",         "Ezra-T",           "130 nm", NameSource::Cpuid},
    {0x06, 0x09, 0x09, 0, 15, "C3",         "Nehemiah",         "130 nm", NameSource::Cpuid},
    {0x06, 0x0A, 0x0A, 0, 15, "C7",         "Esther",           "90 nm",  NameSource::Cpuid},
    {0x06, 0x0D, 0x0D, 0, 15, "C7",         "Esther",           "90 nm",  NameSource::Cpuid},
    {0x06, 0x0F, 0x0F, 0, 12, "Isaiah",     "Isaiah",           "65 nm",  NameSource::Libcpuid},
    {0x06, 0x0F, 0x0F,13, 13, "Isaiah",     "Isaiah",           "40 nm",  NameSource::Press}, // Nano QuadCore
    {0x06, 0x0F, 0x0F,14, 15, "ZhangJiang", "ZX-C",             "28 nm",  NameSource::Dumps},
    {0x06, 0x19, 0x19, 0, 15, "ZhangJiang", "ZX-C",             "28 nm",  NameSource::Dumps},
    {0x06, 0x1F, 0x1F, 0, 15, nullptr,      "ZX-D",             nullptr,  NameSource::Dumps}, // by its brand string
    {0x07, 0x1B, 0x1B, 0, 15, "WuDaoKou",   "WuDaoKou",         "28 nm",  NameSource::Cpuid},
    {0x07, 0x3B, 0x3B, 0, 15, "LuJiaZui",   "LuJiaZui",         "16 nm",  NameSource::Cpuid},
    {0x07, 0x5B, 0x5B, 0, 15, "YongFeng",   "YongFeng",         "16 nm",  NameSource::Libcpuid},
    {0x07, 0x6B, 0x6B, 0, 15, "ShiJiDaDao", "ShiJiDaDao",       nullptr,  NameSource::CompilerModels},
};
static_assert(signaturesAscend(centaurNames));

// "CyrixInstead", and "Geode by NSC" after National Semiconductor took the line over.
constexpr NameRow cyrixNames[] = {
    {0x04, 0x04, 0x04, 0, 15, "5x86",  "MediaGX",  nullptr,  NameSource::Cpuid},
    {0x04, 0x09, 0x09, 0, 15, "5x86",  nullptr,    nullptr,  NameSource::Cpuid},
    {0x05, 0x02, 0x02, 0, 15, "6x86",  "M1",       nullptr,  NameSource::Press}, // of several
    {0x05, 0x04, 0x04, 0, 15, "5x86",  nullptr,    nullptr,  NameSource::Cpuid}, // GXm, GXLV, Geode GX1
    {0x05, 0x05, 0x05, 0, 15, "Geode", "Geode GX2", "150 nm", NameSource::Press},
    {0x06, 0x00, 0x00, 0, 15, "6x86",  "M2",       nullptr,  NameSource::Cpuid},
};
static_assert(signaturesAscend(cyrixNames));

// "GenuineTMx86" and "TransmetaCPU".
constexpr NameRow transmetaNames[] = {
    {0x05, 0x04, 0x04, 0, 15, "Crusoe",   "Crusoe",   nullptr,  NameSource::Cpuid},
    {0x0F, 0x02, 0x02, 0, 15, "Efficeon", "Efficeon", "130 nm", NameSource::Press},
    {0x0F, 0x03, 0x03, 0, 15, "Efficeon", "Efficeon", "90 nm",  NameSource::Press},
};
static_assert(signaturesAscend(transmetaNames));

// "Vortex86 SoC", of DM&P.
constexpr NameRow vortexNames[] = {
    {0x05, 0x02, 0x02, 0, 15, "Vortex86", "Vortex86DX",  nullptr, NameSource::KernelModels},
    {0x05, 0x08, 0x08, 0, 15, "Vortex86", "Vortex86MX",  nullptr, NameSource::KernelModels},
    {0x06, 0x00, 0x00, 0, 15, "Vortex86", "Vortex86EX",  nullptr, NameSource::KernelModels},
    {0x06, 0x01, 0x01, 0, 15, "Vortex86", "Vortex86DX3", nullptr, NameSource::Cpuid}, // by its brand string
};
static_assert(signaturesAscend(vortexNames));
//   family, models, steppings, word, codename
constexpr BrandRow vortexBrandNames[] = {
    {0x06, 0x00, 0x00, 0, 15, "EX2", "Vortex86EX2"}, // the EX has no brand string
};

// "Genuine  RDC": its collectors' dumps have the signature of the Vortex86MX.
constexpr NameRow rdcNames[] = {
    {0x05, 0x08, 0x08, 0, 15, nullptr, "IAD", nullptr, NameSource::Dumps},
};

constexpr NameRow sisNames[] = {
    {0x05, 0x00, 0x00, 0, 15, "mP6", "SiS 55x", nullptr, NameSource::Cpuid},
};
constexpr NameRow riseNames[] = {
    {0x05, 0x00, 0x00, 0, 15, "mP6", "mP6",    "250 nm", NameSource::Cpuid},
    {0x05, 0x02, 0x02, 0, 15, "mP6", "mP6",    "180 nm", NameSource::Cpuid},
    {0x05, 0x08, 0x08, 0, 15, "mP6", "mP6 II", "250 nm", NameSource::Cpuid},
    {0x05, 0x09, 0x09, 0, 15, "mP6", "mP6 II", "180 nm", NameSource::Cpuid},
};
static_assert(signaturesAscend(riseNames));
constexpr NameRow nexGenNames[] = {
    {0x05, 0x00, 0x00, 0, 15, "Nx586", "Nx586", nullptr, NameSource::Cpuid},
};
constexpr NameRow umcNames[] = {
    {0x04, 0x01, 0x02, 0, 15, "486", "Green CPU", "600 nm", NameSource::Press},
};
// clang-format on

} // namespace libQuarrow::topology
