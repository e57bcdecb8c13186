#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>
#include <libQuarrow/cpu/x86/x86_intel_info.h>

// Private to the library: which product classes an Intel processor is of.

namespace libQuarrow::cpu {

struct IntelTypeName {
    x86_intel_info::TypeFlag type;
    const char* name;
};

// In the order in which reports list them. There is no bit 0x100.
constexpr IntelTypeName intelTypeNames[] = {
    {x86_intel_info::Pentium4Family, "Pentium4Family"},
    {x86_intel_info::CoreDuoSoloFamily, "CoreDuoSoloFamily"},
    {x86_intel_info::Core2Family, "Core2Family"},
    {x86_intel_info::NehalemFamily, "NehalemFamily"},
    {x86_intel_info::Penryn, "Penryn"},
    {x86_intel_info::Wolfdale, "Wolfdale"},
    {x86_intel_info::Merom, "Merom"},
    {x86_intel_info::Atom, "Atom"},
    {x86_intel_info::NehalemCore, "NehalemCore"},
    {x86_intel_info::WestmereCore, "WestmereCore"},
    {x86_intel_info::SandyBridgeFamily, "SandyBridgeFamily"},
    {x86_intel_info::SandyBridgeCore, "SandyBridgeCore"},
    {x86_intel_info::SandyBridgeEPCore, "SandyBridgeEPCore"},
    {x86_intel_info::IvyBridgeFamily, "IvyBridgeFamily"},
    {x86_intel_info::HaswellFamily, "HaswellFamily"},
    {x86_intel_info::CloverTrail, "CloverTrail"},
    {x86_intel_info::BroadwellFamily, "BroadwellFamily"},
    {x86_intel_info::Skylake, "Skylake"},
    {x86_intel_info::Silvermont, "Silvermont"},
    {x86_intel_info::Braswell, "Braswell"},
    {x86_intel_info::KabyLake, "KabyLake"},
};
static_assert(rowCount(intelTypeNames) == 21);
static_assert(rowsAscend(intelTypeNames, [](auto a, auto b) { return a.type < b.type; }));

enum class IntelDie { NotTold, Client, Server };

struct IntelSignatureType {
    std::uint32_t signature; // CPUID leaf 1 EAX with the stepping bits cleared
    std::uint32_t types;
    IntelDie die;
};

// By signature, after the tables of DisplayFamily_DisplayModel in Intel's manual, volume 4. Two pairs are told apart by
// more than the signature and stand in addTypesBySignature: 45 nm Core 2 (MSR 0x17), Skylake and Kaby Lake (stepping).
// clang-format off
constexpr IntelSignatureType intelSignatureTypes[] = {
    {0x10660, x86_intel_info::Core2Family,                                           IntelDie::NotTold},
    {0x106A0, x86_intel_info::NehalemFamily | x86_intel_info::NehalemCore,           IntelDie::NotTold},
    {0x106E0, x86_intel_info::NehalemFamily | x86_intel_info::NehalemCore,           IntelDie::NotTold},
    {0x106F0, x86_intel_info::NehalemFamily | x86_intel_info::NehalemCore,           IntelDie::NotTold},
    {0x206E0, x86_intel_info::NehalemFamily | x86_intel_info::NehalemCore,           IntelDie::NotTold},
    {0x20650, x86_intel_info::NehalemFamily | x86_intel_info::WestmereCore,          IntelDie::NotTold},
    {0x206C0, x86_intel_info::NehalemFamily | x86_intel_info::WestmereCore,          IntelDie::NotTold},
    {0x206F0, x86_intel_info::NehalemFamily | x86_intel_info::WestmereCore,          IntelDie::NotTold},
    {0x206A0, x86_intel_info::SandyBridgeFamily | x86_intel_info::SandyBridgeCore,   IntelDie::NotTold},
    {0x206D0, x86_intel_info::SandyBridgeFamily | x86_intel_info::SandyBridgeEPCore, IntelDie::NotTold},
    {0x306A0, x86_intel_info::IvyBridgeFamily,                                       IntelDie::NotTold},
    {0x306E0, x86_intel_info::IvyBridgeFamily,                                       IntelDie::Server},
    {0x306C0, x86_intel_info::HaswellFamily,                                         IntelDie::NotTold},
    {0x306F0, x86_intel_info::HaswellFamily,                                         IntelDie::NotTold},
    {0x40650, x86_intel_info::HaswellFamily,                                         IntelDie::NotTold},
    {0x40660, x86_intel_info::HaswellFamily,                                         IntelDie::NotTold},
    {0x306D0, x86_intel_info::BroadwellFamily,                                       IntelDie::Client},
    {0x40670, x86_intel_info::BroadwellFamily,                                       IntelDie::Client},
    {0x406F0, x86_intel_info::BroadwellFamily,                                       IntelDie::Server},
    {0x50660, x86_intel_info::BroadwellFamily,                                       IntelDie::Server},
    {0x406C0, x86_intel_info::Braswell,                                              IntelDie::NotTold},
    {0x806E0, x86_intel_info::KabyLake,                                              IntelDie::NotTold},
    {0x906E0, x86_intel_info::KabyLake,                                              IntelDie::NotTold},
};
// clang-format on
static_assert(rowsDiffer(intelSignatureTypes, [](auto a, auto b) { return a.signature == b.signature; }));
static_assert(everyRow(intelSignatureTypes, [](auto row) { return (row.signature & 0xF) == 0; }));

struct IntelDisplayModelType {
    std::uint8_t displayModel; // of display family 6
    x86_intel_info::TypeFlag type;
};

constexpr IntelDisplayModelType intelDisplayModelTypes[] = {
    {14, x86_intel_info::CoreDuoSoloFamily}, {15, x86_intel_info::Core2Family}, {28, x86_intel_info::Atom},
    {55, x86_intel_info::Silvermont},        {74, x86_intel_info::Silvermont},  {77, x86_intel_info::Silvermont},
    {78, x86_intel_info::Skylake},           {85, x86_intel_info::Skylake},     {90, x86_intel_info::Silvermont},
    {93, x86_intel_info::Silvermont},        {94, x86_intel_info::Skylake},
};
static_assert(rowsAscend(intelDisplayModelTypes, [](auto a, auto b) { return a.displayModel < b.displayModel; }));

// 65 nm mobile Core 2, by processor number: nothing that a register says tells them from desktop parts.
constexpr const char* meromProcessorNumbers[] = {
    "L7200", "L7300", "L7400", "L7500", "T5200", "T5250", "T5270", "T5300", "T5400", "T5450", "T5470", "T5500",
    "T5550", "T5600", "T5670", "T5750", "T5800", "T5850", "T5870", "T5900", "T7100", "T7200", "T7250", "T7300",
    "T7400", "T7500", "T7600", "T7700", "T7800", "U7500", "U7600", "P7500", "P7700", "T2310",
};
static_assert(rowCount(meromProcessorNumbers) == 34);
static_assert(rowsDiffer(meromProcessorNumbers, sameText));

} // namespace libQuarrow::cpu
