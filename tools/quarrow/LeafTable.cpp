#include <tools/quarrow/LeafTable.h>

#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Words.h>

#include <zel/String.h>

#include <algorithm>
#include <map>
#include <tuple>

namespace quarrow {

using libQuarrow::topology::CpuidAnswer;
using libQuarrow::topology::LeafDescription;
using libQuarrow::topology::LeafField;
using libQuarrow::topology::LeafRegister;
using libQuarrow::topology::ProcessorLeaves;

namespace {

using LeafPlace = std::pair<std::uint32_t, std::uint32_t>;

std::array<std::uint32_t, 4> registersOf(const CpuidAnswer& answer) {
    return {answer.eax, answer.ebx, answer.ecx, answer.edx};
}

// Each field's values, whatever the processors make of the leaf.
class FieldCollector {
  public:
    void add(const LeafDescription& description, const ProcessorSet& processors) {
        for (const LeafField& field : description.fields) {
            SharedField& shared = m_fields[{field.reg, field.lowestBit, field.width, field.name}];
            const auto known = std::find_if(shared.values.begin(), shared.values.end(),
                                            [&field](const auto& value) { return value.field.raw == field.raw; });
            if (known != shared.values.end()) {
                known->processors |= processors;
            } else {
                shared.values.push_back({field, processors});
            }
        }
        for (std::size_t reg = 0; reg < description.unknown.size(); ++reg) {
            for (unsigned int bit = 0; bit < 32; ++bit) {
                if ((description.unknown[reg] >> bit & 1) != 0) {
                    m_unknown[{static_cast<LeafRegister>(reg), bit}] |= processors;
                }
            }
        }
    }
    void moveTo(SharedLeaf& leaf) {
        for (auto& [place, field] : m_fields) {
            leaf.fields.push_back(std::move(field));
        }
        for (const auto& [place, who] : m_unknown) {
            const LeafRegister reg = place.first;
            const ProcessorSet& processors = who;
            const auto alike = std::find_if(leaf.unknown.begin(), leaf.unknown.end(), [&](const UnknownBits& bits) {
                return bits.reg == reg && bits.processors == processors;
            });
            UnknownBits& bits =
                alike != leaf.unknown.end() ? *alike : leaf.unknown.emplace_back(UnknownBits{reg, {}, processors});
            bits.bits.push_back(place.second);
        }
    }

  private:
    std::map<std::tuple<LeafRegister, std::uint8_t, std::uint8_t, std::string_view>, SharedField> m_fields;
    std::map<std::pair<LeafRegister, unsigned int>, ProcessorSet> m_unknown;
};

SharedLeaf sharedLeaf(const LeafPlace& place, const std::vector<const ProcessorLeaves*>& processors) {
    SharedLeaf shared{place.first, place.second, false, {}, {}, {}, {}, {}};
    std::map<std::array<std::uint32_t, 4>, std::size_t> known;
    std::vector<const ProcessorLeaves*> firstOnes; // of each answer
    for (const ProcessorLeaves* processor : processors) {
        if (const CpuidAnswer* answer = processor->find(place.first, place.second)) {
            const auto [at, isNew] = known.emplace(registersOf(*answer), shared.answers.size());
            if (isNew) {
                shared.answers.push_back({*answer, {}});
                firstOnes.push_back(processor);
            }
            shared.answers[at->second].processors.insert(processor->number());
            shared.processors.insert(processor->number());
        }
    }
    FieldCollector collector;
    for (std::size_t i = 0; i < firstOnes.size(); ++i) {
        const LeafDescription description = firstOnes[i]->describe(shared.answers[i].answer);
        shared.title = shared.title.empty() ? std::string(description.title) : shared.title;
        collector.add(description, shared.answers[i].processors);
    }
    collector.moveTo(shared);
    return shared;
}

bool isChosen(const std::optional<LeafChoice>& choice, const LeafPlace& place) {
    return !choice || (choice->leaf == place.first && choice->subleaf.value_or(place.second) == place.second);
}

std::string hexadecimalName(std::uint32_t leaf) {
    return zel::String::SprintfFormat("0x%X", leaf).toUtf8();
}

// A number of 32 bits in that base.
std::optional<std::uint32_t> wholeNumber(const std::string& text, int base) {
    const char* const digits = base == 16 ? "0123456789abcdefABCDEF" : "0123456789";
    constexpr std::size_t longest = 10;
    if (text.empty() || text.size() > longest || text.find_first_not_of(digits) != std::string::npos) {
        return std::nullopt;
    }
    const std::uint64_t value = std::stoull(text, nullptr, base);
    return value <= 0xFFFFFFFF ? std::make_optional(static_cast<std::uint32_t>(value)) : std::nullopt;
}

constexpr std::size_t mostValuesListed = 8; // of a field that differs between processors
std::string bitsText(const LeafField& field) {
    const unsigned int highest = field.lowestBit + field.width - 1u;
    return std::string(nameOf(field.reg)) + " " +
           (field.width == 1 ? std::to_string(highest)
                             : std::to_string(highest) + ":" + std::to_string(field.lowestBit));
}

// "0 on 0-1; 2 on 2-3", or how many values there are.
std::string differences(const SharedField& field) {
    if (field.values.size() <= mostValuesListed) {
        std::vector<std::string> texts;
        for (const SharedField::Value& value : field.values) {
            texts.push_back(value.field.shown + " on " + value.processors.toList());
        }
        return joined(texts, "; ");
    }
    const auto order = [](const SharedField::Value& a, const SharedField::Value& b) {
        return a.field.raw < b.field.raw;
    };
    const auto [lowest, highest] = std::minmax_element(field.values.begin(), field.values.end(), order);
    return std::to_string(field.values.size()) + " values, " + lowest->field.shown + " to " + highest->field.shown +
           "; --all tells each";
}

// Eight digits, with a star for each that differs between processors.
std::string registerText(const SharedLeaf& leaf, LeafRegister reg) {
    std::string text;
    for (const SharedAnswer& shared : leaf.answers) {
        const std::string digits = zel::String::SprintfFormat("%08X", valueOf(shared.answer, reg)).toUtf8();
        text = text.empty() ? digits : text;
        for (std::size_t i = 0; i < digits.size(); ++i) {
            text[i] = text[i] == digits[i] ? text[i] : '*';
        }
    }
    return std::string(nameOf(reg)) + " " + text;
}

} // namespace

std::optional<LeafChoice> leafChoice(const Request& request) {
    if (request.operands.empty()) {
        return std::nullopt;
    }
    const std::string& operand = request.operands.front();
    const std::size_t dot = std::min(operand.find('.'), operand.size());
    std::string leaf = operand.substr(0, dot);
    if (leaf.size() > 2 && leaf[0] == '0' && (leaf[1] == 'x' || leaf[1] == 'X')) {
        leaf.erase(0, 2);
    } else if (leaf.size() > 1 && (leaf.back() == 'h' || leaf.back() == 'H')) {
        leaf.pop_back();
    }
    const auto number = wholeNumber(leaf, 16);
    const auto subleaf = dot < operand.size() ? wholeNumber(operand.substr(dot + 1), 10) : std::nullopt;
    if (!number || (dot < operand.size() && !subleaf)) {
        throw Failure(Failure::WrongInput,
                      "'" + operand +
                          "' is not a CPUID leaf; write its number in hexadecimal, as in 7, 0x80000008 or, with a "
                          "sub-leaf in decimal, 7.1");
    }
    return LeafChoice{*number, subleaf};
}

std::vector<SharedLeaf> sharedLeaves(const std::vector<const ProcessorLeaves*>& processors,
                                     const std::optional<LeafChoice>& choice) {
    std::map<LeafPlace, bool> places;
    for (const ProcessorLeaves* processor : processors) {
        for (const CpuidAnswer& answer : processor->answers()) {
            places[{answer.leaf, answer.subleaf}] = true;
        }
    }
    std::map<std::uint32_t, std::size_t> subleaves;
    for (const auto& [place, isThere] : places) {
        ++subleaves[place.first];
    }
    std::vector<SharedLeaf> leaves;
    for (const auto& [place, isThere] : places) {
        if (isChosen(choice, place)) {
            leaves.push_back(sharedLeaf(place, processors));
            leaves.back().hasSubleaves = place.second != 0 || subleaves[place.first] > 1;
        }
    }
    return leaves;
}

void failForNoLeaf(const LeafChoice& choice) {
    throw Failure(Failure::CannotAnswer, "no logical processor has a leaf " + hexadecimalName(choice.leaf) +
                                             (choice.subleaf ? "." + std::to_string(*choice.subleaf) : "") +
                                             ", or it is all zero; 'quarrow leaves' tells those that there are");
}

std::string leafName(const SharedLeaf& leaf) {
    return hexadecimalName(leaf.leaf) + (leaf.hasSubleaves ? "." + std::to_string(leaf.subleaf) : "");
}

std::vector<FieldLine> fieldLines(const SharedLeaf& leaf) {
    std::vector<FieldLine> lines;
    for (const SharedField& field : leaf.fields) {
        const LeafField& first = field.values.front().field;
        const bool differs = field.values.size() > 1;
        lines.push_back({bitsText(first), std::string(first.name), differs ? "differs" : first.shown,
                         std::string(first.meaning), differs ? differences(field) : ""});
    }
    for (const UnknownBits& unknown : leaf.unknown) {
        std::vector<std::string> numbers;
        for (const unsigned int bit : unknown.bits) {
            numbers.push_back(std::to_string(bit));
        }
        lines.push_back({nameOf(unknown.reg), "unknown", "set",
                         counted(numbers.size(), "bit") + " of no known name: " + joined(numbers),
                         unknown.processors == leaf.processors ? "" : "on " + unknown.processors.toList()});
    }
    return lines;
}

std::string registersText(const SharedLeaf& leaf) {
    std::vector<std::string> registers;
    for (const LeafRegister reg : {LeafRegister::eax, LeafRegister::ebx, LeafRegister::ecx, LeafRegister::edx}) {
        registers.push_back(registerText(leaf, reg));
    }
    return joined(registers, "  ");
}

} // namespace quarrow
