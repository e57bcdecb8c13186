#pragma once

#include <cstdint>

namespace pci {

// Where a function sits on the first segment (domain 0).
struct PciAddress {
    std::uint8_t bus = 0;
    std::uint8_t device = 0;   // 0 to 31
    std::uint8_t function = 0; // 0 to 7

    // Bus, device and function as one number, as the hardware has it: bits 15:8, 7:3, 2:0.
    constexpr std::uint16_t number() const {
        return static_cast<std::uint16_t>(bus << 8 | (device & 0x1F) << 3 | (function & 7));
    }
    constexpr bool isValid() const { return device < 32 && function < 8; }
};

// Bytes of the configuration space of a function of PCI Express; of one of conventional PCI the first 256.
constexpr std::uint32_t configSpaceBytes = 4096;
constexpr std::uint32_t conventionalConfigSpaceBytes = 256;

} // namespace pci
