#include <tools/quarrow/LeafTable.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/LeavesDocument.h>

#include <algorithm>

namespace quarrow {

using libQuarrow::topology::ProcessorLeaves;

namespace {

constexpr std::size_t widestValue = 20; // in its column; longer ones stand below
constexpr std::size_t narrowestMeaning = 16;

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
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

std::string leafReport(const SharedLeaf& leaf, const ProcessorSet& all, std::size_t columns) {
    const std::string title = leaf.title.empty() ? "not known" : leaf.title;
    const std::string whose = leaf.processors == all ? "" : ", on " + leaf.processors.toList();
    return hanging("Leaf " + leafName(leaf) + ": ", title + whose, columns) +
           hanging("  ", registersText(leaf), columns) + fieldTable(fieldLines(leaf), columns);
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
