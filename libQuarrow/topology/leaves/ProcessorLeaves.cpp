#include <libQuarrow/topology/leaves/ProcessorLeaves.h>

#include <libQuarrow/cpu/x86/decode/CpuidLeaves.h>
#include <libQuarrow/cpu/x86/decode/fields/fields.h>
#include <libQuarrow/machine/bits.h>
#include <libQuarrow/topology/decode/Descriptors.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace libQuarrow::topology {
namespace {

constexpr std::uint32_t hyperVInterface = 0x31237648; // "Hv#1"

// Every field of the tables, those of a leaf together.
const std::vector<const cpu::CpuidField*>& fieldsByLeaf() {
    static const std::vector<const cpu::CpuidField*> all = [] {
        std::vector<const cpu::CpuidField*> fields;
        cpu::forEachCpuidField([&fields](const cpu::CpuidField& field) { fields.push_back(&field); });
        std::sort(fields.begin(), fields.end(), [](const cpu::CpuidField* a, const cpu::CpuidField* b) {
            return std::tie(a->leaf, a->reg, a->lowestBit, a->owners) <
                   std::tie(b->leaf, b->reg, b->lowestBit, b->owners);
        });
        return fields;
    }();
    return all;
}

// The number of the leaf where its hypervisor is the only one.
std::uint32_t numberInTables(std::uint32_t leaf) {
    return cpu::isHypervisorLeaf(leaf) ? cpu::cpuid_ranges::hypervisor + leaf % cpu::cpuid_ranges::mostLeaves : leaf;
}

template <class Row>
bool applies(const Row& row, std::uint32_t leaf, std::uint32_t subleaf, std::uint16_t owners) {
    return row.leaf == leaf && row.firstSubleaf <= subleaf && subleaf <= row.lastSubleaf && (row.owners & owners) != 0;
}

std::string hexadecimal(std::uint32_t value) {
    constexpr const char* digits = "0123456789ABCDEF";
    std::string text;
    do {
        text.insert(text.begin(), digits[value % 16]);
        value /= 16;
    } while (value != 0);
    return "0x" + text;
}

// Bytes outside ASCII and control characters are shown as dots.
std::string charactersOf(std::uint32_t value) {
    std::string text;
    for (unsigned int i = 0; i < 4; ++i) {
        const auto byte = static_cast<unsigned char>(value >> 8 * i);
        text += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
    }
    return text;
}

const char* wordOf(const cpu::CpuidUnit& unit, std::uint32_t raw) {
    for (std::size_t i = 0; i < unit.wordCount; ++i) {
        if (unit.words[i].number == raw) {
            return unit.words[i].word;
        }
    }
    return "";
}

void tellNumber(const cpu::CpuidUnit& unit, LeafField& field) {
    constexpr std::uint32_t highestPower = 63;
    field.unit = unit.unit;
    field.word = wordOf(unit, field.raw);
    switch (unit.form) {
    case cpu::CpuidUnit::decimal:
        field.value = (std::uint64_t{field.raw} + unit.plus) * unit.scale;
        field.shown = std::to_string(field.value);
        break;
    case cpu::CpuidUnit::hexadecimal:
        field.value = field.raw;
        field.shown = hexadecimal(field.raw);
        break;
    case cpu::CpuidUnit::descriptor:
        field.value = field.raw;
        field.word = descriptorText(static_cast<std::uint8_t>(field.raw));
        field.shown = hexadecimal(field.raw);
        break;
    case cpu::CpuidUnit::powerOfTwo:
        field.value = field.raw <= highestPower ? std::uint64_t{1} << field.raw : 0;
        field.shown = "2^" + std::to_string(field.raw);
        break;
    }
    if (!field.word.empty()) {
        field.shown = field.word;
    } else if (!field.unit.empty()) {
        field.shown += " " + std::string(field.unit);
    }
}

LeafField fieldOf(const cpu::CpuidField& row, const CpuidAnswer& answer) {
    LeafField field;
    field.name = row.name;
    field.meaning = row.meaning;
    field.reg = static_cast<LeafRegister>(row.reg);
    field.lowestBit = row.lowestBit;
    field.width = row.width;
    field.kind = static_cast<LeafFieldKind>(row.kind);
    field.raw = cpu::bits(valueOf(answer, field.reg), row.lowestBit + row.width - 1u, row.lowestBit);
    field.value = field.raw;
    switch (row.kind) {
    case cpu::CpuidFieldKind::number:
        tellNumber(*row.unit, field);
        break;
    case cpu::CpuidFieldKind::text:
        field.word = charactersOf(field.raw);
        field.shown = '"' + field.word + '"';
        break;
    default:
        field.shown = field.raw != 0 ? "yes" : "no";
        break;
    }
    return field;
}

std::string signatureOf(const CpuidAnswer& answer, std::array<LeafRegister, 3> registers) {
    std::string text;
    for (const LeafRegister reg : registers) {
        text += charactersOf(valueOf(answer, reg));
    }
    return text;
}

struct SignedOwner {
    std::string_view signature;
    std::uint16_t owner;
};

constexpr SignedOwner makerOwners[] = {
    {"GenuineIntel", cpu::intelOwner},     {"AuthenticAMD", cpu::amdOwner},       {"HygonGenuine", cpu::amdOwner},
    {"AMDisbetter!", cpu::amdOwner},       {"CentaurHauls", cpu::centaurOwner},   {"  Shanghai  ", cpu::centaurOwner},
    {"TransmetaCPU", cpu::transmetaOwner}, {"GenuineTMx86", cpu::transmetaOwner},
};

// Not all end in zeros: characters that are none are dots here.
constexpr SignedOwner hypervisorOwners[] = {
    {"KVMKVMKVM...", cpu::kvmOwner},
    {"Microsoft Hv", cpu::hyperVOwner},
    {"XenVMMXenVMM", cpu::xenOwner},
    {"VMwareVMware", cpu::vmwareOwner},
};

template <std::size_t count>
std::uint16_t ownerSigned(const SignedOwner (&rows)[count], const std::string& signature, std::uint16_t otherwise) {
    for (const SignedOwner& row : rows) {
        if (row.signature == signature) {
            return row.owner;
        }
    }
    return otherwise;
}

} // namespace

ProcessorLeaves::ProcessorLeaves(std::uint32_t number, std::vector<CpuidAnswer> answers)
    : m_number(number), m_answers(std::move(answers)) {
    const auto placeOf = [](const CpuidAnswer& answer) { return std::make_pair(answer.leaf, answer.subleaf); };
    std::stable_sort(m_answers.begin(), m_answers.end(),
                     [&placeOf](const CpuidAnswer& a, const CpuidAnswer& b) { return placeOf(a) < placeOf(b); });
    m_answers.erase(
        std::unique(m_answers.begin(), m_answers.end(),
                    [&placeOf](const CpuidAnswer& a, const CpuidAnswer& b) { return placeOf(a) == placeOf(b); }),
        m_answers.end());
}

const CpuidAnswer* ProcessorLeaves::find(std::uint32_t leaf, std::uint32_t subleaf) const {
    const auto at = std::lower_bound(m_answers.begin(), m_answers.end(), std::make_pair(leaf, subleaf),
                                     [](const CpuidAnswer& a, const std::pair<std::uint32_t, std::uint32_t>& b) {
                                         return std::make_pair(a.leaf, a.subleaf) < b;
                                     });
    return at != m_answers.end() && at->leaf == leaf && at->subleaf == subleaf ? &*at : nullptr;
}

// A hypervisor may answer as Hyper-V does under a name of its own.
std::uint16_t ProcessorLeaves::ownersOf(std::uint32_t leaf) const {
    using R = LeafRegister;
    if (!cpu::isHypervisorLeaf(leaf)) {
        const CpuidAnswer* first = find(0);
        return first != nullptr
                   ? ownerSigned(makerOwners, signatureOf(*first, {R::ebx, R::edx, R::ecx}), cpu::otherMakerOwner)
                   : std::uint16_t{cpu::otherMakerOwner};
    }
    const std::uint32_t range = leaf - leaf % cpu::cpuid_ranges::mostLeaves;
    const CpuidAnswer* first = find(range);
    const CpuidAnswer* interface = find(range + 1);
    std::uint32_t owners =
        first != nullptr
            ? ownerSigned(hypervisorOwners, signatureOf(*first, {R::ebx, R::ecx, R::edx}), cpu::otherHypervisorOwner)
            : std::uint16_t{cpu::otherHypervisorOwner};
    if (interface != nullptr && interface->eax == hyperVInterface) {
        owners |= cpu::hyperVOwner;
    }
    return static_cast<std::uint16_t>(owners);
}

LeafDescription ProcessorLeaves::describe(const CpuidAnswer& answer) const {
    LeafDescription description;
    const std::uint16_t owners = ownersOf(answer.leaf);
    const std::uint32_t leaf = numberInTables(answer.leaf);
    for (const cpu::CpuidLeafTitle& row : cpu::cpuidLeafTitles()) {
        if (applies(row, leaf, answer.subleaf, owners)) {
            description.title = row.title;
        }
    }
    for (std::size_t reg = 0; reg < description.unknown.size(); ++reg) {
        description.unknown[reg] = valueOf(answer, static_cast<LeafRegister>(reg));
    }
    const auto& all = fieldsByLeaf();
    auto row = std::lower_bound(all.begin(), all.end(), leaf,
                                [](const cpu::CpuidField* a, std::uint32_t b) { return a->leaf < b; });
    for (; row != all.end() && (*row)->leaf == leaf; ++row) {
        if (applies(**row, leaf, answer.subleaf, owners)) {
            const LeafField& field = description.fields.emplace_back(fieldOf(**row, answer));
            const std::uint32_t mask = 0xFFFFFFFF >> (32 - field.width) << field.lowestBit;
            description.unknown[static_cast<std::size_t>(field.reg)] &= ~mask;
        }
    }
    return description;
}

} // namespace libQuarrow::topology
