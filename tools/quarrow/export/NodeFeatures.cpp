#include <tools/quarrow/export/Exports.h>
#include <tools/quarrow/fleet/FleetMachine.h>

namespace quarrow {
namespace {

bool isAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// The lines of a feature file of node feature discovery (its customization guide, "local feature source"): a namespace,
// a slash, name and value. Without its namespace, which versions up to now have put before it, a label is to be
// refused later. A file may have 64 KB.
//
// Names and values of labels (Kubernetes, "labels and selectors") have up to 63 letters, digits, dashes, underscores
// and dots, the first and the last of them a letter or digit; a value may be empty.
std::string labelText(const std::string& text) {
    constexpr std::size_t longest = 63;
    std::string label;
    for (const char c : text) {
        const bool isAllowed = isAlphanumeric(c) || c == '-' || c == '_' || c == '.';
        if (isAllowed || (!label.empty() && label.back() != '-')) {
            label += isAllowed ? c : '-';
        }
    }
    label.erase(0, std::min(label.size(), label.find_first_not_of("-_.")));
    label.resize(std::min(label.size(), longest));
    while (!label.empty() && !isAlphanumeric(label.back())) {
        label.pop_back();
    }
    return label;
}

std::string labelLine(const std::string& name, const std::string& value) {
    const std::string text = labelText(value);
    return text.empty() ? std::string()
                        : "feature.node.kubernetes.io/" + labelText("quarrow." + name) + "=" + text + "\n";
}

} // namespace

std::string nodeFeatures(const libQuarrow::topology::Topology& topology) {
    const FleetMachine machine = fleetMachineOf(topology);
    std::string text =
        labelLine("name", machine.name) + labelLine("vendor", machine.vendor) +
        labelLine("family", std::to_string(machine.family)) + labelLine("model", std::to_string(machine.model)) +
        labelLine("stepping", std::to_string(machine.stepping)) + labelLine("codename", machine.codename) +
        labelLine("hypervisor", machine.hypervisor) + labelLine("packages", std::to_string(machine.packages)) +
        labelLine("cores", std::to_string(machine.cores)) + labelLine("threads", std::to_string(machine.threads));
    for (const FleetKind& kind : machine.kinds) {
        const std::string before = kind.kind.empty() ? "" : kind.kind + ".";
        text += labelLine(before + "microarchitecture", kind.microarchitecture);
        text += kind.kind.empty() ? "" : labelLine(before + "cores", std::to_string(kind.cores));
    }
    for (std::uint32_t level = 1; level <= machine.level.value_or(0); ++level) {
        text += labelLine("x86-64-v" + std::to_string(level), "true"); // so that a selector needs no comparison
    }
    for (const std::string_view feature : machine.usable.names()) {
        text += labelLine("usable." + std::string(feature), "true");
    }
    return text;
}

} // namespace quarrow
