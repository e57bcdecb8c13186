#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>
#include <libQuarrow/cpu/x86/x86_cache.h>

// Private to the library: the descriptor bytes of CPUID leaf 2 that stand for a cache. Intel's manual, volume 2, CPUID,
// "Encoding of CPUID Leaf 2 Descriptors". TLB and prefetch descriptors, 0xFF and 0x40 are no caches.

namespace libQuarrow::cpu {

struct IntelCacheDescriptor {
    std::uint8_t descriptor;
    std::uint8_t level;
    x86_CacheType type;
    std::uint32_t ways;
    std::uint32_t size; // times 1024: bytes, or micro-operations of a trace cache
    std::uint32_t lineSizeBytes;
};

namespace intel_descriptors {

constexpr x86_CacheType Unified = x86_cache_type_unified;
constexpr x86_CacheType Data = x86_cache_type_data;
constexpr x86_CacheType Instruction = x86_cache_type_instruction;
constexpr x86_CacheType Trace = x86_cache_type_trace;

// clang-format off
constexpr IntelCacheDescriptor rows[] = {
    // byte, level, type, ways, K, line
    {0x06, 1, Instruction,  4,     8, 32},
    {0x08, 1, Instruction,  4,    16, 32},
    {0x09, 1, Instruction,  4,    32, 32},
    {0x0A, 1, Data,         2,     8, 32},
    {0x0C, 1, Data,         4,    16, 32},
    {0x0D, 1, Data,         4,    16, 64},
    {0x0E, 1, Data,         6,    24, 64},
    {0x21, 2, Unified,      8,   256, 64},
    {0x22, 3, Unified,      4,   512, 64},
    {0x23, 3, Unified,      8,  1024, 64},
    {0x25, 3, Unified,      8,  2048, 64},
    {0x29, 3, Unified,      8,  4096, 64},
    {0x2C, 1, Data,         8,    32, 64},
    {0x30, 1, Instruction,  8,    32, 64},
    {0x41, 2, Unified,      4,   128, 32},
    {0x42, 2, Unified,      4,   256, 32},
    {0x43, 2, Unified,      4,   512, 32},
    {0x44, 2, Unified,      4,  1024, 32},
    {0x45, 2, Unified,      4,  2048, 32},
    {0x46, 3, Unified,      4,  4096, 64},
    {0x47, 3, Unified,      8,  8192, 64},
    {0x48, 2, Unified,     12,  3072, 64},
    {0x49, 2, Unified,     16,  4096, 64},
    {0x4A, 3, Unified,     12,  6144, 64},
    {0x4B, 3, Unified,     16,  8192, 64},
    {0x4C, 3, Unified,     12, 12288, 64},
    {0x4D, 3, Unified,     16, 16384, 64},
    {0x4E, 2, Unified,     24,  6144, 64},
    {0x60, 1, Data,         8,    16, 64},
    {0x66, 1, Data,         4,     8, 64},
    {0x67, 1, Data,         4,    16, 64},
    {0x68, 1, Data,         4,    32, 64},
    {0x78, 2, Unified,      4,  1024, 64},
    {0x79, 2, Unified,      8,   128, 64},
    {0x7A, 2, Unified,      8,   256, 64},
    {0x7B, 2, Unified,      8,   512, 64},
    {0x7C, 2, Unified,      8,  1024, 64},
    {0x7D, 2, Unified,      8,  2048, 64},
    {0x7F, 2, Unified,      2,   512, 64},
    {0x80, 2, Unified,      8,   512, 64},
    {0x82, 2, Unified,      8,   256, 32},
    {0x83, 2, Unified,      8,   512, 32},
    {0x84, 2, Unified,      8,  1024, 32},
    {0x85, 2, Unified,      8,  2048, 32},
    {0x86, 2, Unified,      4,   512, 64},
    {0x87, 2, Unified,      4,  1024, 64},
    {0xE4, 3, Unified,     16,  8192, 64},
    {0x70, 1, Trace,        8,    12,  0},
    {0x71, 1, Trace,        8,    16,  0},
    {0x72, 1, Trace,        8,    32,  0},
};
// clang-format on

} // namespace intel_descriptors

inline constexpr auto& intelCacheDescriptors = intel_descriptors::rows;
static_assert(rowCount(intelCacheDescriptors) == 50);
static_assert(rowsDiffer(intelCacheDescriptors, [](auto a, auto b) { return a.descriptor == b.descriptor; }));

} // namespace libQuarrow::cpu
