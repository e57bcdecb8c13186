#include <tools/quarrow/LeafTable.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/LeavesDocument.h>

#include <algorithm>

namespace quarrow {

using libQuarrow::topology::LeafField;
using libQuarrow::topology::LeafFieldKind;
using libQuarrow::topology::LeafRegister;
using libQuarrow::topology::ProcessorLeaves;

namespace {

constexpr std::size_t mostValuesListed = 8; // of a field that differs between processors
constexpr std::size_t widestValue = 20;     // in its column; longer ones stand below
constexpr std::size_t narrowestMeaning = 16;

// A line of the table of fields.
struct FieldLine {
    std::string place; // "eax 7:0"
    std::string name;
    std::string value;
    std::string meaning;
    std::string who; // where processors differ
};

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

std::vector<FieldLine> linesOf(const SharedLeaf& leaf) {
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

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

// The text behind what stands before it, broken at blanks, further lines below its beginning.
std::string hanging(std::string before, const std::string& text, std::size_t columns) {
    const std::size_t indent = before.size();
    std::string all;
    for (const zel::String& part : wrapped(zel::String::fromUtf8(text), std::max(columns, indent + 8) - indent)) {
        all += before + printable(part) + "\n";
        before.assign(indent, ' ');
    }
    return all;
}

// Columns where there is room for them; else name, value and meaning one after the other.
std::string fieldTable(const std::vector<FieldLine>& lines, std::size_t columns) {
    constexpr std::size_t placeColumns = 12; // "  eax 31:24 "
    const std::string below(placeColumns, ' ');
    std::size_t names = 0;
    std::size_t values = 0;
    for (const FieldLine& line : lines) {
        names = std::max(names, line.name.size());
        values = std::max(values, line.value.size() <= widestValue ? line.value.size() : 0);
    }
    const bool haveRoom = placeColumns + names + 2 + values + 2 + narrowestMeaning <= columns;
    std::string text;
    for (const FieldLine& line : lines) {
        const std::string place = padded("  " + line.place, placeColumns);
        const bool isLong = line.value.size() > widestValue;
        if (haveRoom) {
            const std::string value = padded(isLong ? "" : line.value, values);
            text += hanging(place + padded(line.name, names) + "  " + value + "  ", line.meaning, columns);
        } else {
            text += hanging(place, line.name, columns) +
                    hanging(below, isLong ? line.meaning : line.value + ": " + line.meaning, columns);
        }
        for (const std::string& more : {isLong ? line.value : "", line.who}) {
            text += more.empty() ? "" : hanging(below, more, columns);
        }
    }
    return text;
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

std::string leafReport(const SharedLeaf& leaf, const ProcessorSet& all, std::size_t columns) {
    const std::string title = leaf.title.empty() ? "not known" : leaf.title;
    const std::string whose = leaf.processors == all ? "" : ", on " + leaf.processors.toList();
    std::vector<std::string> registers;
    for (const LeafRegister reg : {LeafRegister::eax, LeafRegister::ebx, LeafRegister::ecx, LeafRegister::edx}) {
        registers.push_back(registerText(leaf, reg));
    }
    return hanging("Leaf " + leafName(leaf) + ": ", title + whose, columns) +
           hanging("  ", joined(registers, "  "), columns) + fieldTable(linesOf(leaf), columns);
}

std::string leavesReport(const std::vector<const ProcessorLeaves*>& processors, const std::vector<SharedLeaf>& leaves) {
    const std::size_t columns = outputColumns();
    ProcessorSet all;
    for (const ProcessorLeaves* processor : processors) {
        all.insert(processor->number());
    }
    std::string text = paragraph(all.count() == 1 ? "Logical CPU" : "Logical CPUs", all.toList(), columns);
    for (const SharedLeaf& leaf : leaves) {
        text += "\n" + leafReport(leaf, all, columns);
    }
    return text;
}

} // namespace

std::string leavesCommand(const Request& request) {
    const std::optional<LeafChoice> choice = leafChoice(request);
    const MachineLeaves machine = readLeaves(request);
    std::vector<const ProcessorLeaves*> processors;
    for (const ProcessorLeaves& processor : machine.processors()) {
        processors.push_back(&processor);
    }
    const std::vector<SharedLeaf> leaves = sharedLeaves(processors, choice);
    if (leaves.empty() && choice) {
        failForNoLeaf(*choice);
    }
    if (request.json) {
        return leavesDocument(request, leaves);
    }
    if (request.options.count("all") == 0) {
        return leavesReport(processors, leaves);
    }
    std::string text;
    for (const ProcessorLeaves* processor : processors) {
        text += (text.empty() ? "" : "\n") + leavesReport({processor}, sharedLeaves({processor}, choice));
    }
    return text;
}

} // namespace quarrow
