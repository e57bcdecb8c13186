#pragma once

#include <libQuarrow/cpu/x86/decode/fields/CpuidField.h>

// Private to the library: the units and words of the tables of CPUID fields.

namespace libQuarrow::cpu::cpuid_fields {

constexpr CpuidRegister eax = CpuidRegister::eax;
constexpr CpuidRegister ebx = CpuidRegister::ebx;
constexpr CpuidRegister ecx = CpuidRegister::ecx;
constexpr CpuidRegister edx = CpuidRegister::edx;

constexpr CpuidSubleaves allSubleaves{0, 0xFFFF};

// clang-format off
inline constexpr CpuidUnit decimal         {CpuidUnit::decimal,     0,    1, ""};
inline constexpr CpuidUnit hex             {CpuidUnit::hexadecimal, 0,    1, ""};
inline constexpr CpuidUnit descriptor      {CpuidUnit::descriptor,  0,    1, ""};
inline constexpr CpuidUnit lessOne         {CpuidUnit::decimal,     1,    1, ""};
inline constexpr CpuidUnit bytes           {CpuidUnit::decimal,     0,    1, "bytes"};
inline constexpr CpuidUnit bytesLessOne    {CpuidUnit::decimal,     1,    1, "bytes"};
inline constexpr CpuidUnit eightBytes      {CpuidUnit::decimal,     0,    8, "bytes"};
inline constexpr CpuidUnit sixteenBytes    {CpuidUnit::decimal,     0,   16, "bytes"};
inline constexpr CpuidUnit eightEntries    {CpuidUnit::decimal,     0,    8, "entries"};
inline constexpr CpuidUnit twoToBytes      {CpuidUnit::powerOfTwo,  0,    1, "bytes"};
inline constexpr CpuidUnit kilobytes       {CpuidUnit::decimal,     0,    1, "KB"};
inline constexpr CpuidUnit halfMegabytes   {CpuidUnit::decimal,     0,  512, "KB"};
inline constexpr CpuidUnit smallPagesLessOne{CpuidUnit::decimal,   1,    4, "KB"};
inline constexpr CpuidUnit bits            {CpuidUnit::decimal,     0,    1, "bits"};
inline constexpr CpuidUnit bitsLessOne     {CpuidUnit::decimal,     1,    1, "bits"};
inline constexpr CpuidUnit bitsLess24      {CpuidUnit::decimal,    24,    1, "bits"};
inline constexpr CpuidUnit hertz           {CpuidUnit::decimal,     0,    1, "Hz"};
inline constexpr CpuidUnit kilohertz       {CpuidUnit::decimal,     0,    1, "kHz"};
inline constexpr CpuidUnit megahertz       {CpuidUnit::decimal,     0,    1, "MHz"};
inline constexpr CpuidUnit millivolts      {CpuidUnit::decimal,     0,    1, "mV"};
inline constexpr CpuidUnit percent         {CpuidUnit::decimal,     0,    1, "%"};
inline constexpr CpuidUnit percentLessOne  {CpuidUnit::decimal,     1,    1, "%"};
inline constexpr CpuidUnit femtoseconds    {CpuidUnit::decimal,     0,    1, "fs"};
inline constexpr CpuidUnit records32       {CpuidUnit::decimal,     0,   32, "records"};

inline constexpr CpuidWord processorTypeWords[] = {{0, "original"}, {1, "OverDrive"}, {2, "second of two"}};
inline constexpr CpuidWord cacheTypeWords[]     = {{0, "none"}, {1, "data"}, {2, "instruction"}, {3, "unified"}};
inline constexpr CpuidWord tlbTypeWords[]       = {{0, "none"}, {1, "data"}, {2, "instruction"}, {3, "unified"},
                                                   {4, "load"}, {5, "store"}};
inline constexpr CpuidWord levelTypeWords[]     = {{0, "none"}, {1, "thread"}, {2, "core"}, {3, "module"}, {4, "tile"},
                                                   {5, "die"}, {6, "die group"}};
inline constexpr CpuidWord amdLevelTypeWords[]  = {{0, "none"}, {1, "core"}, {2, "complex"}, {3, "die"}, {4, "socket"}};
inline constexpr CpuidWord coreTypeWords[]      = {{0x20, "Intel Atom"}, {0x40, "Intel Core"}};
inline constexpr CpuidWord amdCoreTypeWords[]   = {{0, "performance"}, {1, "efficiency"}};
inline constexpr CpuidWord partitioningWords[]  = {{0, "soft"}};
inline constexpr CpuidWord targetTypeWords[]    = {{0, "none"}, {1, "target identifiers"}};
inline constexpr CpuidWord enclaveTypeWords[]   = {{0, "none"}, {1, "enclave page cache"}};
inline constexpr CpuidWord enclaveCareWords[]   = {{0, "none"}, {1, "confidential, intact and fresh"}, {2, "confidential"},
                                                   {3, "confidential and intact"}};
inline constexpr CpuidWord waysWords[]          = {{0, "not told"}, {1, "direct mapped"}, {0xFF, "fully associative"}};
inline constexpr CpuidWord waysCodeWords[]      = {{0, "disabled"}, {1, "direct mapped"}, {2, "2 ways"}, {3, "3 ways"},
                                                   {4, "4 ways"}, {5, "6 ways"}, {6, "8 ways"}, {8, "16 ways"},
                                                   {9, "in leaf 0x8000001D"}, {10, "32 ways"}, {11, "48 ways"},
                                                   {12, "64 ways"}, {13, "96 ways"}, {14, "128 ways"},
                                                   {15, "fully associative"}};
inline constexpr CpuidWord counterWidthWords[]  = {{0, "40 bits"}, {1, "48 bits"}, {2, "56 bits"}, {3, "64 bits"}};
inline constexpr CpuidWord tscModeWords[]       = {{0, "emulated where necessary"}, {1, "always emulated"},
                                                   {2, "never emulated"}, {3, "never emulated, with TSC_AUX"}};

template <std::size_t count>
constexpr CpuidUnit worded(const CpuidWord (&words)[count], const char* unit = "") {
    return {CpuidUnit::decimal, 0, 1, unit, words, count};
}
inline constexpr CpuidUnit processorType = worded(processorTypeWords);
inline constexpr CpuidUnit cacheType     = worded(cacheTypeWords);
inline constexpr CpuidUnit tlbType       = worded(tlbTypeWords);
inline constexpr CpuidUnit levelType     = worded(levelTypeWords);
inline constexpr CpuidUnit amdLevelType  = worded(amdLevelTypeWords);
inline constexpr CpuidUnit coreType      = worded(coreTypeWords);
inline constexpr CpuidUnit amdCoreType   = worded(amdCoreTypeWords);
inline constexpr CpuidUnit partitioning  = worded(partitioningWords);
inline constexpr CpuidUnit targetType    = worded(targetTypeWords);
inline constexpr CpuidUnit enclaveType   = worded(enclaveTypeWords);
inline constexpr CpuidUnit enclaveCare   = worded(enclaveCareWords);
inline constexpr CpuidUnit ways          = worded(waysWords, "ways");
inline constexpr CpuidUnit waysCode      = worded(waysCodeWords);
inline constexpr CpuidUnit counterWidth  = worded(counterWidthWords);
inline constexpr CpuidUnit tscMode       = worded(tscModeWords);
// clang-format on

} // namespace libQuarrow::cpu::cpuid_fields
