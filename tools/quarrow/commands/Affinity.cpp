#include <tools/quarrow/Document.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/commands/Commands.h>

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/topology/ProcessorAffinity.h>

namespace quarrow {

using boost::optional;
using libQuarrow::cpu::AffinityMask;
using libQuarrow::cpu::GroupAffinity;
using libQuarrow::cpu::WinAffinity;
using libQuarrow::topology::ProcessorNumbering;
using libQuarrow::topology::ProcessorSet;
using nlohmann::ordered_json;

namespace {

// The places of a group's processors.
std::vector<unsigned int> bits(std::uint64_t mask) {
    std::vector<unsigned int> places;
    for (unsigned int bit = 0; bit < 64; ++bit) {
        if ((mask >> bit & 1) != 0) {
            places.push_back(bit);
        }
    }
    return places;
}

// The processors as a list such as 0,4-7. None where one has no number.
optional<std::string> listOf(const AffinityMask& affinity) {
    const auto numbering = ProcessorNumbering::ofCurrentMachine();
    if (!numbering) {
        return boost::none;
    }
    const ProcessorSet processors = processorsOf(affinity, *numbering);
    const bool all = processors.count() == affinity.getAffinityData().logicalCpuCount();
    return boost::make_optional(all, processors.toList());
}

zel::String withCount(const AffinityMask& affinity) {
    const unsigned int count = affinity.getAffinityData().logicalCpuCount();
    const optional<std::string> list = listOf(affinity);
    return affinity.toString() + zel::String::SprintfFormat(" (%u logical processor%s", count, count == 1 ? "" : "s") +
           zel::String::fromUtf8(list && count != 0 ? ": " + *list + ")" : ")");
}

zel::String described(const optional<AffinityMask>& affinity) {
    return affinity ? withCount(*affinity) : zel::String("not known");
}

// What a text means: its processors, group by group.
std::string meaning(const AffinityMask& mask) {
    const WinAffinity& affinity = mask.getAffinityData();
    std::string text = line("Affinity", affinity.toString());
    text += line("List", zel::String::fromUtf8(listOf(mask).value_or("not known: this machine has no such processor")));
    text += line("Logical processors", zel::String::SprintfFormat("%u", affinity.logicalCpuCount()));
    for (const GroupAffinity& group : affinity.groups()) {
        zel::String places;
        for (const unsigned int bit : bits(group.mask)) {
            places += zel::String::SprintfFormat(" %u", bit);
        }
        text += line(zel::String::SprintfFormat("Group %u", group.group), places);
    }
    if (affinity.logicalCpuCount() == 1) {
        const optional<unsigned int> number = affinity.getLogicalCpuNumber();
        text += line("Logical CPU Number", number ? zel::String::SprintfFormat("%u", *number) : "not known");
    }
    return text;
}

ordered_json toJson(const optional<AffinityMask>& affinity) {
    if (!affinity) {
        return nullptr;
    }
    const WinAffinity& data = affinity->getAffinityData();
    const optional<unsigned int> number = data.getLogicalCpuNumber();
    const optional<std::string> list = listOf(*affinity);
    ordered_json groups = ordered_json::array();
    for (const GroupAffinity& group : data.groups()) {
        groups.push_back({{"group", group.group}, {"processors", bits(group.mask)}});
    }
    return {{"affinity", data.toString().toUtf8()},
            {"list", list ? ordered_json(*list) : ordered_json()},
            {"count", data.logicalCpuCount()},
            {"logicalCpuNumber", number ? ordered_json(*number) : ordered_json()},
            {"groups", groups}};
}

AffinityMask parseList(const ProcessorSet& processors) {
    const auto numbering = ProcessorNumbering::ofCurrentMachine();
    if (!numbering) {
        throw Failure(Failure::CannotAnswer, "the operating system does not tell which processors there are");
    }
    for (const std::uint32_t number : processors) {
        if (!numbering->place(number)) {
            throw Failure(Failure::WrongInput,
                          "this machine has no place for a logical processor " + std::to_string(number));
        }
    }
    return affinityOf(processors, *numbering);
}

AffinityMask parse(const std::string& text) {
    if (const auto list = ProcessorSet::fromList(text)) {
        return parseList(*list);
    }
    AffinityMask affinity;
    if (!affinity.fromString(zel::String::fromUtf8(text))) {
        throw Failure(Failure::WrongInput,
                      "'" + text + "' is not an affinity; write a list, as in 0,4-7, or group:mask, as in 0:Fh/1:3h");
    }
    return affinity;
}

} // namespace

std::string affinityCommand(const Request& request) {
    if (!request.operands.empty()) {
        const AffinityMask affinity = parse(request.operands.front());
        if (!request.json) {
            return meaning(affinity);
        }
        ordered_json document = emptyDocument(request);
        document["text"] = toJson(affinity);
        return documentText(document);
    }
    const optional<AffinityMask> system = AffinityMask::systemAffinityMask();
    const optional<AffinityMask> process = AffinityMask::processAffinityMask();
    const optional<AffinityMask> thread = AffinityMask::threadAffinityMask();
    if (!system && !process && !thread) {
        throw Failure(Failure::CannotAnswer, "the operating system does not say what any affinity is");
    }
    if (!request.json) {
        return line("System affinity", described(system)) + line("Process affinity", described(process)) +
               line("Thread affinity", described(thread));
    }
    ordered_json document = emptyDocument(request);
    document["system"] = toJson(system);
    document["process"] = toJson(process);
    document["thread"] = toJson(thread);
    return documentText(document);
}

} // namespace quarrow
