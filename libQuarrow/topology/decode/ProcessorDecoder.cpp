#include <libQuarrow/topology/decode/ProcessorDecoder.h>

#include <libQuarrow/topology/decode/LeafReader.h>

#include <array>
#include <cstring>
#include <string>
#include <string_view>

namespace libQuarrow::topology {
namespace {

// The characters that registers hold, the first in the lowest byte, up to a zero byte.
template <std::size_t count>
std::string characters(const std::array<std::uint32_t, count>& registers) {
    std::array<char, 4 * count + 1> text{};
    std::memcpy(text.data(), registers.data(), 4 * count);
    return text.data();
}

std::string vendorOf(const LeafReader& leaves) {
    const cpu::cpuid_args& first = leaves.first();
    return characters<3>({first.ebx, first.edx, first.ecx});
}

std::string brandOf(LeafReader& leaves) {
    if (!leaves.has(0x80000004)) {
        return {};
    }
    std::array<std::uint32_t, 12> registers{};
    for (std::uint32_t i = 0; i < 3; ++i) {
        const cpu::cpuid_args part = leaves.read(0x80000002 + i);
        registers[4 * i] = part.eax;
        registers[4 * i + 1] = part.ebx;
        registers[4 * i + 2] = part.ecx;
        registers[4 * i + 3] = part.edx;
    }
    std::string brand = characters(registers);
    brand.erase(0, brand.find_first_not_of(' '));
    brand.erase(brand.find_last_not_of(' ') + 1);
    return brand;
}

// Leaf 1 EAX. Extended family counts from family 15 on, extended model from family 6 on: below they are reserved.
void decodeSignature(std::uint32_t signature, ProcessorIdentity& identity) {
    const cpu::SignatureFields fields(signature);
    identity.signature = signature;
    identity.stepping = fields.stepping;
    identity.model = fields.model + (fields.family >= 6 ? fields.extModel << 4 : 0);
    identity.family = fields.family + (fields.family == 15 ? fields.extFamily : 0);
}

// The range of leaves that is left to hypervisors. An old one names no highest leaf there (0).
std::optional<Hypervisor> hypervisorOf(LeafReader& leaves) {
    constexpr std::uint32_t range = 0x40000000;
    if (!leaves.get<cpu::VersionLeaf>().hypervisor) {
        return std::nullopt;
    }
    Hypervisor hypervisor;
    const cpu::cpuid_args first = leaves.readAnyway(range);
    if (first.eax == 0 || (first.eax >= range && first.eax < range + 0x10000)) {
        hypervisor.signature = characters<3>({first.ebx, first.ecx, first.edx});
        if (first.eax > range) {
            hypervisor.interface = leaves.readAnyway(range + 1).eax;
        }
    }
    return hypervisor;
}

} // namespace

Maker makerOf(const LeafReader& leaves) {
    constexpr struct {
        std::string_view vendor;
        Maker maker;
    } rows[] = {{"GenuineIntel", Maker::intel}, {"AuthenticAMD", Maker::amd},   {"HygonGenuine", Maker::amd},
                {"AMDisbetter!", Maker::amd},   {"CyrixInstead", Maker::cyrix}, {"Geode by NSC", Maker::cyrix}};
    const std::string vendor = vendorOf(leaves);
    for (const auto& row : rows) {
        if (row.vendor == vendor) {
            return row.maker;
        }
    }
    return Maker::other;
}

ProcessorIdentity decodeIdentity(LeafReader& leaves) {
    ProcessorIdentity identity;
    identity.vendor = vendorOf(leaves);
    identity.brand = brandOf(leaves);
    identity.maxLeaf = leaves.maximum();
    identity.maxExtendedLeaf = leaves.extendedMaximum();
    const auto version = leaves.get<cpu::VersionLeaf>();
    decodeSignature(version.signature, identity);
    identity.brandIndex = version.brandIndex;
    if (makerOf(leaves) == Maker::amd) {
        identity.packageType = leaves.get<cpu::ExtendedFeaturesLeaf>().packageType;
    }
    if (leaves.get<cpu::HybridLeaf>().hybrid && leaves.has(cpu::CoreTypeLeaf::number)) {
        identity.coreType = leaves.get<cpu::CoreTypeLeaf>().eax;
    }
    const auto sizes = leaves.get<cpu::AddressSizesLeaf>();
    if (sizes.told) {
        identity.physicalAddressBits = sizes.physicalBits;
        identity.linearAddressBits = sizes.linearBits;
    }
    identity.hypervisor = hypervisorOf(leaves);
    return identity;
}

ProcessorFacts decodeProcessor(cpu::CpuidReader& cpuid) {
    LeafReader leaves(cpuid);
    ProcessorFacts facts;
    facts.model.identity = decodeIdentity(leaves);
    decodePlace(leaves, facts.place, facts.model);
    facts.model.caches = decodeCaches(leaves, facts.model);
    facts.model.tlbs = decodeTlbs(leaves);
    return facts;
}

} // namespace libQuarrow::topology
