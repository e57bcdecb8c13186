#include <libQuarrow/cpu/x86/amd/x86_amd_northbridge.h>

#include <pci/PciFunction.h>

namespace libQuarrow::cpu {
namespace {

constexpr std::uint8_t firstNode = 0x18;
constexpr std::uint32_t identityRegister = 0; // bits 15:0 the maker
constexpr std::uint32_t amdVendor = 0x1022;

} // namespace

boost::optional<std::uint32_t> readAmdNorthbridge(std::uint8_t function, std::uint32_t offset) {
    pci::PciFunction northbridge({0, firstNode, function});
    std::uint32_t identity = 0;
    std::uint32_t value = 0;
    const bool isRead = northbridge.openFunction() && northbridge.readRegister(identityRegister, identity) &&
                        (identity & 0xFFFF) == amdVendor && northbridge.readRegister(offset, value);
    return boost::make_optional(isRead, value);
}

} // namespace libQuarrow::cpu
