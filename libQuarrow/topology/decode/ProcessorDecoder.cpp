#include <libQuarrow/topology/decode/ProcessorDecoder.h>

#include <libQuarrow/cpu/x86/decode/CpuidLeaves.h>
#include <libQuarrow/topology/decode/LeafReader.h>
#include <libQuarrow/topology/features/FeatureDetection.h>
#include <libQuarrow/topology/features/isa.h>

#include <array>
#include <cstring>
#include <string>
#include <utility>

namespace libQuarrow::topology {
namespace {

// The characters that registers hold, the first in the lowest byte, up to a zero byte. Those beyond ASCII, as in
// Intel's registered trademarks of old, are Latin-1; the text is UTF-8.
template <std::size_t count>
std::string characters(const std::array<std::uint32_t, count>& registers) {
    std::array<char, 4 * count + 1> text{};
    std::memcpy(text.data(), registers.data(), 4 * count);
    std::string utf8;
    utf8.reserve(4 * count);
    for (const char* at = text.data(); *at != 0; ++at) {
        const auto byte = static_cast<unsigned char>(*at);
        if (byte < 0x80) {
            utf8 += *at;
        } else {
            utf8 += static_cast<char>(0xC0 | byte >> 6);
            utf8 += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return utf8;
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
    for (std::size_t i = 0; i < 3; ++i) {
        const cpu::cpuid_args part = leaves.read(0x80000002 + static_cast<std::uint32_t>(i));
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

Hypervisor hypervisorAt(std::uint32_t range, const cpu::cpuid_args& first, LeafReader& leaves) {
    Hypervisor hypervisor{characters<3>({first.ebx, first.ecx, first.edx}), std::nullopt};
    if (first.eax > range) {
        hypervisor.interfaceSignature = leaves.readAnyway(range + 1).eax;
    }
    return hypervisor;
}

// The ranges of leaves that are left to hypervisors. An old one names no highest leaf in the first of them (0).
void decodeHypervisor(LeafReader& leaves, ProcessorIdentity& identity) {
    if (!leaves.get<cpu::VersionLeaf>().hypervisor) {
        return;
    }
    const cpu::cpuid_args first = leaves.readAnyway(cpu::cpuid_ranges::hypervisor);
    if (first.eax != 0 && !cpu::isHypervisorLeaf(first.eax)) {
        identity.hypervisor = Hypervisor();
        return;
    }
    identity.hypervisor = hypervisorAt(cpu::cpuid_ranges::hypervisor, first, leaves);
    for (std::uint32_t i = 1; i < cpu::cpuid_ranges::mostHypervisors; ++i) {
        const std::uint32_t range = cpu::hypervisorRange(i);
        const cpu::cpuid_args next = leaves.readAnyway(range);
        if (first.eax >= range || !cpu::namesLeafOfRange(next.eax, range)) {
            return;
        }
        identity.furtherHypervisors.push_back(hypervisorAt(range, next, leaves));
    }
}

std::optional<Avx10> avx10Of(const FeatureSet& features, LeafReader& leaves) {
    if (!leaves.has(cpu::Avx10Leaf::number) || !features.contains(isa::avx10)) {
        return std::nullopt;
    }
    const auto leaf = leaves.get<cpu::Avx10Leaf>();
    Avx10 avx10{leaf.version, {}};
    for (const auto& [has, bits] : {std::pair(leaf.has128, 128U), {leaf.has256, 256U}, {leaf.has512, 512U}}) {
        if (has) {
            avx10.vectorBits.push_back(bits);
        }
    }
    return avx10;
}

// Which fields of which leaves tell a processor from its like. Those that decodePlace() goes by.
cpu::cpuid_args withoutIds(std::uint32_t leaf, cpu::cpuid_args registers) {
    switch (leaf) {
    case cpu::VersionLeaf::number:
        cpu::clearAt<cpu::placeOf(cpu::VersionLeaf::number, "initial_apic_id")>(registers);
        break;
    case cpu::TopologyLevelLeaf::number:
    case cpu::TopologyLevelLeaf::v2Number:
    case cpu::TopologyLevelLeaf::amdNumber:
        cpu::clearAt<cpu::TopologyLevelLeaf::place("x2apic_id")>(registers);
        break;
    case cpu::AmdTopologyLeaf::number:
        cpu::clearAt<cpu::placeOf(cpu::AmdTopologyLeaf::number, "extended_apic_id")>(registers);
        cpu::clearAt<cpu::placeOf(cpu::AmdTopologyLeaf::number, "core_id")>(registers);
        cpu::clearAt<cpu::placeOf(cpu::AmdTopologyLeaf::number, "node_id")>(registers);
        break;
    default:
        break;
    }
    return registers;
}

bool sameButForIds(std::uint32_t leaf, const cpu::cpuid_args& a, const cpu::cpuid_args& b) {
    return a == b || withoutIds(leaf, a) == withoutIds(leaf, b);
}

// A brand is a package's, and hypervisors are the machine's. Each CPUID that is not executed is a way into the
// hypervisor and back.
bool isBrandLeaf(std::uint32_t leaf) {
    return leaf >= 0x80000002 && leaf <= 0x80000004;
}
bool isOfMoreThanOneProcessor(std::uint32_t leaf) {
    return isBrandLeaf(leaf) || cpu::isHypervisorLeaf(leaf);
}

bool arePackagemates(const PlaceFacts& a, const PlaceFacts& b, std::uint8_t packageShift) {
    return a.idTold && b.idTold && std::uint64_t{a.id ^ b.id} >> packageShift == 0;
}

} // namespace

Maker makerOf(const LeafReader& leaves) {
    constexpr struct {
        std::uint32_t ebx, edx, ecx;
        Maker maker;
    } rows[] = {
        {0x756E6547, 0x49656E69, 0x6C65746E, Maker::intel}, // GenuineIntel
        {0x68747541, 0x69746E65, 0x444D4163, Maker::amd},   // AuthenticAMD
        {0x6F677948, 0x6E65476E, 0x656E6975, Maker::amd},   // HygonGenuine
        {0x69444D41, 0x74656273, 0x21726574, Maker::amd},   // AMDisbetter!
        {0x69727943, 0x736E4978, 0x64616574, Maker::cyrix}, // CyrixInstead
        {0x646F6547, 0x79622065, 0x43534E20, Maker::cyrix}, // Geode by NSC
    };
    const cpu::cpuid_args& first = leaves.first();
    for (const auto& row : rows) {
        if (row.ebx == first.ebx && row.edx == first.edx && row.ecx == first.ecx) {
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
    decodeHypervisor(leaves, identity);
    return identity;
}

ProcessorFacts ProcessorDecoder::decode(cpu::RememberingCpuidReader& cpuid) {
    ProcessorFacts facts;
    if (m_model != nullptr && cpuid.readLike(m_answers, sameButForIds, isOfMoreThanOneProcessor)) {
        LeafReader leaves(cpuid);
        if (decodePlace(leaves, m_model->identity, facts.place) == m_model->placing &&
            (arePackagemates(facts.place, m_place, m_model->placing.shifts.package) ||
             brandOf(leaves) == m_model->identity.brand)) {
            facts.model = m_model;
            m_place = facts.place;
            return facts;
        }
    }
    LeafReader leaves(cpuid);
    ModelFacts model;
    ProcessorIdentity& identity = model.identity;
    identity = decodeIdentity(leaves);
    identity.features = featuresOf(cpuid);
    identity.usable = usableOf(identity.features, cpuid);
    identity.level = levelOf(identity.usable);
    identity.avx10 = avx10Of(identity.features, leaves);
    model.placing = decodePlace(leaves, identity, facts.place);
    model.caches = decodeCaches(leaves, identity);
    model.tlbs = decodeTlbs(leaves);
    m_model = std::make_shared<const ModelFacts>(std::move(model));
    m_place = facts.place;
    m_answers = cpuid.answers();
    facts.model = m_model;
    return facts;
}

} // namespace libQuarrow::topology
