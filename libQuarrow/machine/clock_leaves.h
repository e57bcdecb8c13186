#pragma once

#include <libQuarrow/machine/bits.h>
#include <libQuarrow/machine/cpuid_args.h>

#include <cstdint>

// Private to the library: the CPUID leaves that tell rates. They stand with the machine and not with the decoders,
// because a replayed machine's clock runs by them. Intel's manual, volume 2A, CPUID.

namespace libQuarrow::cpu {

// Leaf 0x15: the time-stamp counter and the crystal that it counts.
struct CrystalLeaf {
    static constexpr std::uint32_t number = 0x15;
    explicit constexpr CrystalLeaf(const cpuid_args& r) : denominator(r.eax), numerator(r.ebx), crystalHertz(r.ecx) {}

    // Ticks per second of the counter; 0 where the leaf does not tell all that is needed.
    constexpr std::uint64_t tscHertz() const {
        return denominator == 0 ? 0 : std::uint64_t{crystalHertz} * numerator / denominator;
    }

    std::uint32_t denominator;  // EAX
    std::uint32_t numerator;    // EBX
    std::uint32_t crystalHertz; // ECX
};

// Leaf 0x16: processor frequencies in MHz, as sold and not as measured; 0 where they are not told.
struct FrequencyLeaf {
    static constexpr std::uint32_t number = 0x16;
    explicit constexpr FrequencyLeaf(const cpuid_args& r)
        : baseMHz(bits(r.eax, 15, 0)), maximumMHz(bits(r.ebx, 15, 0)), busMHz(bits(r.ecx, 15, 0)) {}

    std::uint32_t baseMHz;    // EAX bits 15 to 0
    std::uint32_t maximumMHz; // EBX bits 15 to 0
    std::uint32_t busMHz;     // ECX bits 15 to 0
};

// Ticks per second of the time-stamp counter by these two leaves, the exact one first; 0 where neither tells.
constexpr std::uint64_t tscHertz(const CrystalLeaf& crystal, const FrequencyLeaf& frequencies) {
    return crystal.tscHertz() != 0 ? crystal.tscHertz() : std::uint64_t{frequencies.baseMHz} * 1'000'000;
}

} // namespace libQuarrow::cpu
