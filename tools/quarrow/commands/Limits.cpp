#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>

#include <zel/Temperature.h>

#include <algorithm>

namespace quarrow {

using libQuarrow::topology::PerformanceLevels;
using libQuarrow::topology::ProcessorIdentity;
using libQuarrow::topology::ProcessorLimits;
using libQuarrow::topology::TurboRatio;

namespace {

constexpr const char* limitNotKnown = "not known";

bool isMadeByIntel(const ProcessorIdentity& identity) {
    return identity.vendor == "GenuineIntel";
}

// "100 °C", or where it is set to throttle earlier "90 °C, 14 below its 104 °C".
std::string throttlingText(const ProcessorLimits& limits) {
    if (!limits.throttleCelsius) {
        return limitNotKnown;
    }
    const auto degrees = [](std::uint32_t celsius) {
        return zel::Temperature(static_cast<int>(celsius)).toString().toUtf8();
    };
    const std::uint32_t offset = limits.throttleOffsetCelsius.value_or(0);
    return offset == 0 || offset > *limits.throttleCelsius
               ? degrees(*limits.throttleCelsius)
               : degrees(*limits.throttleCelsius - offset) + ", " + std::to_string(offset) + " below its " +
                     degrees(*limits.throttleCelsius);
}

// "x 40 (1 active core), x 39 (up to 4)": the highest number of cores of each ratio.
std::string turboText(const ProcessorIdentity& identity, const std::vector<TurboRatio>& ratios) {
    if (ratios.empty()) {
        const bool saysNone = !identity.hypervisor && identity.maxLeaf >= 6 && !identity.features.contains("ida");
        return saysNone ? "none, or switched off" : limitNotKnown;
    }
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < ratios.size(); ++i) {
        if (i + 1 < ratios.size() && ratios[i + 1].ratio == ratios[i].ratio) {
            continue;
        }
        const std::string cores =
            texts.empty() ? counted(ratios[i].activeCores, "active core") : std::to_string(ratios[i].activeCores);
        texts.push_back("x " + std::to_string(ratios[i].ratio) + " (" + (ratios[i].activeCores == 1 ? "" : "up to ") +
                        cores + ")");
    }
    return joined(texts);
}

std::string levelsText(const PerformanceLevels& levels) {
    return "highest " + std::to_string(levels.highest) + ", guaranteed " + std::to_string(levels.guaranteed) +
           ", efficient " + std::to_string(levels.efficient) + ", lowest " + std::to_string(levels.lowest);
}

// Whether no register could tell more. Where turbo is not there, or switched off, none tells its ratios.
bool limitsAreComplete(const Processor& processor) {
    const ProcessorLimits& limits = *processor.limits;
    const bool hasTurbo = processor.identity->features.contains("ida");
    return isMadeByIntel(*processor.identity) ? limits.throttleCelsius && (!hasTurbo || !limits.turboRatios.empty())
                                              : limits.levels.has_value();
}

std::string limitsText(const Processor& processor, std::size_t columns) {
    const ProcessorLimits& limits = *processor.limits;
    std::string text = processor.kind ? paragraph("Kind", nameOf(*processor.kind), columns) : std::string();
    if (isMadeByIntel(*processor.identity)) {
        text += paragraph("Throttles at", throttlingText(limits), columns);
        text += paragraph("Turbo", turboText(*processor.identity, limits.turboRatios), columns);
    }
    if (limits.levels) {
        text += paragraph("Performance levels", levelsText(*limits.levels), columns);
    } else if (!isMadeByIntel(*processor.identity)) {
        text += paragraph("Limits", limitNotKnown, columns);
    }
    return text;
}

std::string limitsReport(const Topology& topology, const std::vector<const Processor*>& processors) {
    const std::size_t columns = outputColumns();
    std::string text;
    for (const AlikeProcessors& group : alikeProcessors(
             processors, [columns](const Processor& processor) { return limitsText(processor, columns); })) {
        text +=
            (text.empty() ? "" : "\n") + paragraph("Logical CPUs", group.numbers.toList(), columns) + group.description;
    }
    const bool complete = std::all_of(processors.begin(), processors.end(),
                                      [](const Processor* processor) { return limitsAreComplete(*processor); });
    const std::string whyNot = complete ? std::string() : whyNoMsrs(topology);
    return whyNot.empty() ? text : text + "\n" + whyNot;
}

} // namespace

std::string limitsCommand(const Request& request) {
    const Topology topology = readLimits(request);
    return request.json ? machineDocument(request, topology)
                        : limitsReport(topology, namedProcessors(topology, request.operands));
}

} // namespace quarrow
