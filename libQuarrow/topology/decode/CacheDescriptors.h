#pragma once

#include <libQuarrow/cpu/x86/decode/x86_table_checks.h>
#include <libQuarrow/topology/Cache.h>
#include <libQuarrow/topology/Tlb.h>

#include <cstdint>

// Private to the library: the descriptor bytes of CPUID leaf 2. Intel's manual, volume 2, CPUID, "Encoding of CPUID
// Leaf 2 Descriptors"; 0x39 to 0x3E: Intel's application note 485, "Descriptor Decode Values"; 0x3F: Linux,
// cpu/cpuid_0x2_table.c. Prefetch sizes (0xF0, 0xF1), the null descriptor, 0x40 (no L2, or no L3) and the references to
// other leaves (0xFE, 0xFF) name neither a cache nor a TLB.

namespace libQuarrow::topology {

struct CacheDescriptor {
    std::uint8_t descriptor;
    std::uint8_t level;
    CacheType type;
    std::uint8_t ways;
    std::uint16_t sizeK; // times 1024: bytes, or micro-operations of a trace cache
    std::uint8_t line;   // bytes
};

struct TlbDescriptor {
    std::uint8_t descriptor;
    std::uint8_t level;
    TlbType type;
    std::uint8_t pages; // of what follows
    std::uint16_t entries;
    std::uint8_t ways; // 0: fully associative; notTold
};

namespace descriptors {

constexpr CacheType Unified = CacheType::unified;
constexpr CacheType Data = CacheType::data;
constexpr CacheType Code = CacheType::instruction;
constexpr CacheType Trace = CacheType::trace;

constexpr TlbType DTlb = TlbType::data;
constexpr TlbType ITlb = TlbType::instruction;
constexpr TlbType STlb = TlbType::unified;

constexpr std::uint8_t notTold = 0xFF;
constexpr std::uint8_t k4 = 1; // pages of 4 KB
constexpr std::uint8_t m2 = 2; // of 2 MB
constexpr std::uint8_t m4 = 4; // of 4 MB
constexpr std::uint8_t g1 = 8; // of 1 GB

// clang-format off
constexpr CacheDescriptor caches[] = {
    // byte, level, type, ways, K, line
    {0x06, 1, Code,     4,     8, 32},
    {0x08, 1, Code,     4,    16, 32},
    {0x09, 1, Code,     4,    32, 64},
    {0x0A, 1, Data,     2,     8, 32},
    {0x0C, 1, Data,     4,    16, 32},
    {0x0D, 1, Data,     4,    16, 64},
    {0x0E, 1, Data,     6,    24, 64},
    {0x1D, 2, Unified,  2,   128, 64},
    {0x21, 2, Unified,  8,   256, 64},
    {0x22, 3, Unified,  4,   512, 64},
    {0x23, 3, Unified,  8,  1024, 64},
    {0x24, 2, Unified, 16,  1024, 64},
    {0x25, 3, Unified,  8,  2048, 64},
    {0x29, 3, Unified,  8,  4096, 64},
    {0x2C, 1, Data,     8,    32, 64},
    {0x30, 1, Code,     8,    32, 64},
    {0x39, 2, Unified,  4,   128, 64},
    {0x3A, 2, Unified,  6,   192, 64},
    {0x3B, 2, Unified,  2,   128, 64},
    {0x3C, 2, Unified,  4,   256, 64},
    {0x3D, 2, Unified,  6,   384, 64},
    {0x3E, 2, Unified,  4,   512, 64},
    {0x3F, 2, Unified,  2,   256, 64},
    {0x41, 2, Unified,  4,   128, 32},
    {0x42, 2, Unified,  4,   256, 32},
    {0x43, 2, Unified,  4,   512, 32},
    {0x44, 2, Unified,  4,  1024, 32},
    {0x45, 2, Unified,  4,  2048, 32},
    {0x46, 3, Unified,  4,  4096, 64},
    {0x47, 3, Unified,  8,  8192, 64},
    {0x48, 2, Unified, 12,  3072, 64},
    {0x49, 2, Unified, 16,  4096, 64}, // an L3 on family 15 model 6
    {0x4A, 3, Unified, 12,  6144, 64},
    {0x4B, 3, Unified, 16,  8192, 64},
    {0x4C, 3, Unified, 12, 12288, 64},
    {0x4D, 3, Unified, 16, 16384, 64},
    {0x4E, 2, Unified, 24,  6144, 64},
    {0x60, 1, Data,     8,    16, 64},
    {0x66, 1, Data,     4,     8, 64},
    {0x67, 1, Data,     4,    16, 64},
    {0x68, 1, Data,     4,    32, 64},
    {0x70, 1, Trace,    8,    12,  0},
    {0x71, 1, Trace,    8,    16,  0},
    {0x72, 1, Trace,    8,    32,  0},
    {0x78, 2, Unified,  4,  1024, 64},
    {0x79, 2, Unified,  8,   128, 64},
    {0x7A, 2, Unified,  8,   256, 64},
    {0x7B, 2, Unified,  8,   512, 64},
    {0x7C, 2, Unified,  8,  1024, 64},
    {0x7D, 2, Unified,  8,  2048, 64},
    {0x7F, 2, Unified,  2,   512, 64},
    {0x80, 2, Unified,  8,   512, 64},
    {0x82, 2, Unified,  8,   256, 32},
    {0x83, 2, Unified,  8,   512, 32},
    {0x84, 2, Unified,  8,  1024, 32},
    {0x85, 2, Unified,  8,  2048, 32},
    {0x86, 2, Unified,  4,   512, 64},
    {0x87, 2, Unified,  8,  1024, 64},
    {0xD0, 3, Unified,  4,   512, 64},
    {0xD1, 3, Unified,  4,  1024, 64},
    {0xD2, 3, Unified,  4,  2048, 64},
    {0xD6, 3, Unified,  8,  1024, 64},
    {0xD7, 3, Unified,  8,  2048, 64},
    {0xD8, 3, Unified,  8,  4096, 64},
    {0xDC, 3, Unified, 12,  1536, 64},
    {0xDD, 3, Unified, 12,  3072, 64},
    {0xDE, 3, Unified, 12,  6144, 64},
    {0xE2, 3, Unified, 16,  2048, 64},
    {0xE3, 3, Unified, 16,  4096, 64},
    {0xE4, 3, Unified, 16,  8192, 64},
    {0xEA, 3, Unified, 24, 12288, 64},
    {0xEB, 3, Unified, 24, 18432, 64},
    {0xEC, 3, Unified, 24, 24576, 64},
};

constexpr TlbDescriptor tlbs[] = {
    // byte, level, type, pages, entries, ways
    {0x01, 1, ITlb, k4,       32, 4},
    {0x02, 1, ITlb, m4,        2, 0},
    {0x03, 1, DTlb, k4,       64, 4},
    {0x04, 1, DTlb, m4,        8, 4},
    {0x05, 1, DTlb, m4,       32, 4},
    {0x0B, 1, ITlb, m4,        4, 4},
    {0x4F, 1, ITlb, k4,       32, notTold},
    {0x50, 1, ITlb, k4|m2|m4, 64, notTold},
    {0x51, 1, ITlb, k4|m2|m4, 128, notTold},
    {0x52, 1, ITlb, k4|m2|m4, 256, notTold},
    {0x55, 1, ITlb, m2|m4,     7, 0},
    {0x56, 1, DTlb, m4,       16, 4},
    {0x57, 1, DTlb, k4,       16, 4},
    {0x59, 1, DTlb, k4,       16, 0},
    {0x5A, 1, DTlb, m2|m4,    32, 4},
    {0x5B, 1, DTlb, k4|m4,    64, notTold},
    {0x5C, 1, DTlb, k4|m4,   128, notTold},
    {0x5D, 1, DTlb, k4|m4,   256, notTold},
    {0x61, 1, ITlb, k4,       48, 0},
    {0x63, 1, DTlb, m2|m4,    32, 4}, // two in one
    {0x63, 1, DTlb, g1,        4, 4},
    {0x64, 1, DTlb, k4,      512, 4},
    {0x6A, 1, DTlb, k4,       64, 8},
    {0x6B, 1, DTlb, k4,      256, 8},
    {0x6C, 1, DTlb, m2|m4,   128, 8},
    {0x6D, 1, DTlb, g1,       16, 0},
    {0x76, 1, ITlb, m2|m4,     8, 0},
    {0xA0, 1, DTlb, k4,       32, 0},
    {0xB0, 1, ITlb, k4,      128, 4},
    {0xB1, 1, ITlb, m2,        8, 4}, // or half as many of 4 MB
    {0xB2, 1, ITlb, k4,       64, 4},
    {0xB3, 1, DTlb, k4,      128, 4},
    {0xB4, 1, DTlb, k4,      256, 4},
    {0xB5, 1, ITlb, k4,       64, 8},
    {0xB6, 1, ITlb, k4,      128, 8},
    {0xBA, 1, DTlb, k4,       64, 4},
    {0xC0, 1, DTlb, k4|m4,     8, 4},
    {0xC1, 2, STlb, k4|m2,  1024, 8},
    {0xC2, 1, DTlb, k4|m2,    16, 4},
    {0xC3, 2, STlb, k4|m2,  1536, 6}, // two in one
    {0xC3, 2, STlb, g1,       16, 4},
    {0xC4, 1, DTlb, m2|m4,    32, 4},
    {0xCA, 2, STlb, k4,      512, 4},
};
// clang-format on

static_assert(cpu::rowsAscend(tlbs, [](const TlbDescriptor& row, const TlbDescriptor& next) {
    return row.descriptor <= next.descriptor;
}));

} // namespace descriptors
} // namespace libQuarrow::topology
