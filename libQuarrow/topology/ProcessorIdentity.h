#pragma once

#include <libQuarrow/topology/features/FeatureSet.h>

#include <cstdint>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace libQuarrow::topology {

// An interface of the hypervisor that a processor says it runs under (leaf 1 ECX bit 31).
struct Hypervisor {
    std::string signature; // first leaf of its range: "KVMKVMKVM"; empty where it does not answer
    std::optional<std::uint32_t> interfaceSignature; // second leaf, EAX: "Hv#1" is 0x31237648

    auto all() const { return std::tie(signature, interfaceSignature); }
    friend bool operator==(const Hypervisor& a, const Hypervisor& b) { return a.all() == b.all(); }
    friend bool operator<(const Hypervisor& a, const Hypervisor& b) { return a.all() < b.all(); }
};

// Which AVX10 a processor has (leaf 7 sub-leaf 1 EDX bit 19).
struct Avx10 {
    std::uint32_t version = 0;             // leaf 0x24 EBX bits 0 to 7
    std::vector<std::uint32_t> vectorBits; // of 128, 256 and 512 those that it has vectors of: bits 16, 17 and 18

    auto all() const { return std::tie(version, vectorBits); }
    friend bool operator==(const Avx10& a, const Avx10& b) { return a.all() == b.all(); }
    friend bool operator<(const Avx10& a, const Avx10& b) { return a.all() < b.all(); }
};

// Who a processor is, whoever made it. Texts are UTF-8.
struct ProcessorIdentity {
    std::string vendor;          // leaf 0, up to a zero byte: "GenuineIntel"
    std::string brand;           // leaves 0x80000002 to 4, without blanks at the ends; may be empty
    std::uint32_t signature = 0; // leaf 1 EAX; 0 without leaf 1
    std::uint32_t family = 0;    // with the extended family
    std::uint32_t model = 0;     // with the extended model
    std::uint32_t stepping = 0;
    std::uint32_t brandIndex = 0;  // leaf 1 EBX bits 0 to 7
    std::uint32_t packageType = 0; // leaf 0x80000001 EBX bits 28 to 31, AMD and Hygon
    std::uint32_t maxLeaf = 0;
    std::uint32_t maxExtendedLeaf = 0;     // 0: none
    std::optional<std::uint32_t> coreType; // leaf 0x1A EAX where leaf 7 says hybrid: type in bits 24 to 31, model below
    std::optional<std::uint32_t> physicalAddressBits; // leaf 0x80000008 EAX bits 0 to 7
    std::optional<std::uint32_t> linearAddressBits;   // bits 8 to 15
    std::optional<Hypervisor> hypervisor;             // leaves 0x40000000 and 0x40000001
    // What else it answers as, at 0x40000100, 0x40000200 ..., in that order. One that imitates another's interface, as
    // KVM does Hyper-V's, has its own here.
    std::vector<Hypervisor> furtherHypervisors;
    std::optional<Avx10> avx10;
    FeatureSet features;                // every flag that is set, whoever made the processor
    FeatureSet usable;                  // those that a program may execute: XCR0 taken into account
    std::optional<std::uint32_t> level; // x86-64 level of `usable`, 1 to 4; none below that

    // The fields of the signature as they are: family and model above are made up of them.
    std::uint32_t baseFamily() const { return signature >> 8 & 0xF; }
    std::uint32_t extendedFamily() const { return signature >> 20 & 0xFF; }
    std::uint32_t baseModel() const { return signature >> 4 & 0xF; }
    std::uint32_t extendedModel() const { return signature >> 16 & 0xF; }

    auto all() const {
        return std::tie(vendor, brand, signature, family, model, stepping, brandIndex, packageType, maxLeaf,
                        maxExtendedLeaf, coreType, physicalAddressBits, linearAddressBits, hypervisor,
                        furtherHypervisors, avx10, features, usable, level);
    }
    friend bool operator==(const ProcessorIdentity& a, const ProcessorIdentity& b) { return a.all() == b.all(); }
    friend bool operator<(const ProcessorIdentity& a, const ProcessorIdentity& b) { return a.all() < b.all(); }
};

} // namespace libQuarrow::topology
