#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/Document.h>

#include <libQuarrow/cpu/AffinityMask.h>

namespace quarrow {

using boost::optional;
using libQuarrow::cpu::AffinityMask;
using libQuarrow::cpu::GroupAffinity;
using libQuarrow::cpu::WinAffinity;
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

zel::String withCount(const WinAffinity& affinity) {
    const unsigned int count = affinity.logicalCpuCount();
    return affinity.toString() + zel::String::SprintfFormat(" (%u logical processor%s)", count, count == 1 ? "" : "s");
}

zel::String described(const optional<AffinityMask>& affinity) {
    return affinity ? withCount(affinity->getAffinityData()) : zel::String("not known");
}

// What a text means: its processors, group by group.
std::string meaning(const WinAffinity& affinity) {
    std::string text = line("Affinity", affinity.toString());
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
    ordered_json groups = ordered_json::array();
    for (const GroupAffinity& group : data.groups()) {
        groups.push_back({{"group", group.group}, {"processors", bits(group.mask)}});
    }
    return {{"affinity", data.toString().toUtf8()},
            {"count", data.logicalCpuCount()},
            {"logicalCpuNumber", number ? ordered_json(*number) : ordered_json()},
            {"groups", groups}};
}

AffinityMask parse(const std::string& text) {
    AffinityMask affinity;
    if (!affinity.fromString(zel::String::fromUtf8(text))) {
        throw Failure(Failure::WrongInput,
                      "'" + text + "' is not an affinity; write group:mask, as in 0:Fh or 0:Fh/1:3h for two groups");
    }
    return affinity;
}

} // namespace

std::string affinityCommand(const Request& request) {
    if (!request.operands.empty()) {
        const AffinityMask affinity = parse(request.operands.front());
        if (!request.json) {
            return meaning(affinity.getAffinityData());
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
