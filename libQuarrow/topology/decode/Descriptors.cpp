#include <libQuarrow/topology/decode/Descriptors.h>

#include <libQuarrow/topology/decode/LeafReader.h>

namespace libQuarrow::topology {

std::vector<std::uint8_t> readDescriptors(LeafReader& leaves) {
    const cpu::cpuid_args leaf = leaves.read(2);
    std::vector<std::uint8_t> bytes;
    bytes.reserve(16);
    for (const std::uint32_t value : {leaf.eax & ~std::uint32_t{0xFF}, leaf.ebx, leaf.ecx, leaf.edx}) {
        for (unsigned int byte = 0; byte < 4 && value >> 31 == 0; ++byte) {
            const auto descriptor = static_cast<std::uint8_t>(value >> 8 * byte);
            if (descriptor != 0) {
                bytes.push_back(descriptor);
            }
        }
    }
    return bytes;
}

std::optional<std::uint32_t> waysOfByte(std::uint32_t value) {
    if (value == 0) {
        return std::nullopt;
    }
    return value == 0xFF ? 0 : value;
}

// AMD's manual, volume 3, appendix E, "Associativity for L2 and L3 caches and L2 TLBs". Code 9 refers to leaf
// 0x8000001D.
std::optional<std::uint32_t> waysOfCode(std::uint32_t code) {
    constexpr std::uint32_t none = 0xFFFFFFFF;
    constexpr std::uint32_t ways[16] = {none, 1, 2, 3, 4, 6, 8, none, 16, none, 32, 48, 64, 96, 128, 0};
    return code > 15 || ways[code] == none ? std::nullopt : std::make_optional(ways[code]);
}

} // namespace libQuarrow::topology
