#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Private to the library: what the leaves of caches and of TLBs have in common.

namespace libQuarrow::topology {

class LeafReader;

// The descriptor bytes of leaf 2, null descriptors left out: those of each register whose bit 31 is clear, but the
// lowest byte of EAX, which counts.
std::vector<std::uint8_t> readDescriptors(LeafReader& leaves);

// What one stands for, for people: "L1 data, 32 KB", "L1 data TLB, 64 of 4 KB"; empty for one that is not known.
std::string descriptorText(std::uint8_t descriptor);

// Ways as leaf 0x80000005 has them: a number; 0xFF fully associative (0), 0 not told.
std::optional<std::uint32_t> waysOfByte(std::uint32_t value);
// Ways as leaves 0x80000006 and 0x80000019 have them: a code of four bits. 0: fully associative.
std::optional<std::uint32_t> waysOfCode(std::uint32_t code);

} // namespace libQuarrow::topology
