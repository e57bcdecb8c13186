#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>

#include <zel/String.h>

#include <algorithm>

namespace quarrow {

using libQuarrow::os::SystemFrequencies;
using libQuarrow::topology::PerformanceState;
using libQuarrow::topology::ProcessorSpeed;
using libQuarrow::topology::SpeedFigure;

namespace {

// "133.3", "2500": as many of `decimals` as it needs.
std::string trimmedNumber(double value, unsigned int decimals) {
    std::string text = zel::String::SprintfFormat("%.*f", static_cast<int>(decimals), value).toUtf8();
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
        text.pop_back();
    }
    return text;
}

std::string megahertzNumber(std::uint64_t hertz) {
    return trimmedNumber(static_cast<double>(hertz) / 1e6, 1);
}

std::string megahertzText(std::uint64_t hertz) {
    return megahertzNumber(hertz) + " MHz";
}

std::string multiplierText(double multiplier) {
    return "x " + trimmedNumber(multiplier, 2);
}

// "3700 MHz (x 37)"; empty for what is not known.
std::string figureText(const SpeedFigure& figure) {
    const std::string multiplier = figure.multiplier ? multiplierText(*figure.multiplier) : std::string();
    return !figure.hertz        ? multiplier
           : multiplier.empty() ? megahertzText(*figure.hertz)
                                : megahertzText(*figure.hertz) + " (" + multiplier + ")";
}

std::string performanceStatesText(const std::vector<PerformanceState>& states) {
    std::vector<std::string> texts;
    texts.reserve(states.size());
    for (const PerformanceState& state : states) {
        texts.push_back("P" + std::to_string(state.number) + " " + megahertzText(state.hertz));
    }
    return joined(texts);
}

std::string systemText(const SystemFrequencies& system) {
    const auto told = [](const char* what, const std::optional<std::uint64_t>& hertz) {
        return hertz ? what + megahertzText(*hertz) : std::string();
    };
    return joined(
        {told("lowest ", system.lowestHertz), told("base ", system.baseHertz), told("highest ", system.highestHertz)});
}

// What like processors have in common. What is of the moment differs even between those, and is told as a range.
struct StandingFigure {
    const char* label;
    std::string (*text)(const ProcessorSpeed&);
    bool alwaysKnowable = true; // else only some processors have it, and that it is not known is no news
};
constexpr StandingFigure standingFigures[] = {
    {"Bus clock",
     [](const ProcessorSpeed& s) { return s.busClockHertz ? megahertzText(*s.busClockHertz) : std::string(); }},
    {"Lowest", [](const ProcessorSpeed& s) { return figureText(s.lowest); }},
    {"Base", [](const ProcessorSpeed& s) { return figureText(s.base); }},
    {"Turbo", [](const ProcessorSpeed& s) { return figureText(s.turbo); }},
    {"P-states", [](const ProcessorSpeed& s) { return performanceStatesText(s.performanceStates); }, false},
    {"Operating system", [](const ProcessorSpeed& s) { return systemText(s.system); }, false},
};

struct MomentaryFigure {
    const char* label;
    SpeedFigure (*figure)(const ProcessorSpeed&);
};
constexpr MomentaryFigure momentaryFigures[] = {
    {"Time-stamp counter",
     [](const ProcessorSpeed& s) {
         return SpeedFigure{std::nullopt, s.tscHertz};
     }},
    {"Set to", [](const ProcessorSpeed& s) { return s.current; }},
    {"Ran at",
     [](const ProcessorSpeed& s) {
         return SpeedFigure{std::nullopt, s.effective.hertz};
     }},
};

// "800 to 3000 MHz (x 8 to 30)" over those that tell it.
std::string rangeText(const std::vector<const Processor*>& processors, SpeedFigure (*figureOf)(const ProcessorSpeed&)) {
    std::vector<double> multipliers;
    std::vector<std::uint64_t> speeds;
    for (const Processor* processor : processors) {
        const SpeedFigure figure = figureOf(*processor->speed);
        if (figure.hertz) {
            speeds.push_back(*figure.hertz);
        }
        if (figure.multiplier) {
            multipliers.push_back(*figure.multiplier);
        }
    }
    const auto range = [](const auto& values, auto textOf) {
        if (values.empty()) {
            return std::string();
        }
        const auto [lowest, highest] = std::minmax_element(values.begin(), values.end());
        const std::string first = textOf(*lowest);
        const std::string last = textOf(*highest);
        return first == last ? first : first + " to " + last;
    };
    const std::string hertz = range(speeds, megahertzNumber) + (speeds.empty() ? "" : " MHz");
    const std::string multiplier =
        multipliers.empty() ? "" : "x " + range(multipliers, [](double value) { return trimmedNumber(value, 2); });
    return hertz.empty() || multiplier.empty() ? hertz + multiplier : hertz + " (" + multiplier + ")";
}

std::string kindText(const Processor& processor, std::size_t columns) {
    return processor.kind ? paragraph("Kind", nameOf(*processor.kind), columns) : std::string();
}

std::string standingText(const Processor& processor, std::size_t columns, std::vector<std::string>& unknown) {
    std::string text;
    for (const StandingFigure& figure : standingFigures) {
        const std::string value = figure.text(*processor.speed);
        if (!value.empty()) {
            text += paragraph(figure.label, value, columns);
        } else if (figure.alwaysKnowable) {
            unknown.emplace_back(figure.label);
        }
    }
    return text;
}

std::string speedReport(const Topology& topology, const std::vector<const Processor*>& processors) {
    const std::size_t columns = outputColumns();
    const auto describeStanding = [columns](const Processor& processor) {
        std::vector<std::string> unknown;
        return standingText(processor, columns, unknown) + kindText(processor, columns);
    };
    std::string text;
    bool complete = true;
    for (const AlikeProcessors& group : alikeProcessors(processors, describeStanding)) {
        std::vector<const Processor*> members;
        std::copy_if(processors.begin(), processors.end(), std::back_inserter(members),
                     [&group](const Processor* processor) { return group.numbers.contains(processor->number); });
        text += (text.empty() ? "" : "\n") + paragraph("Logical CPUs", group.numbers.toList(), columns) +
                kindText(*members.front(), columns);
        std::vector<std::string> unknown;
        for (const MomentaryFigure& figure : momentaryFigures) {
            const std::string range = rangeText(members, figure.figure);
            if (range.empty()) {
                unknown.emplace_back(figure.label);
            } else {
                text += paragraph(figure.label, range, columns);
            }
        }
        text += standingText(*members.front(), columns, unknown);
        if (!unknown.empty()) {
            complete = false;
            text += paragraph("Not known", joined(unknown), columns);
        }
    }
    const std::string whyNot = complete ? std::string() : whyNoMsrs(topology);
    return whyNot.empty() ? text : text + "\n" + whyNot;
}

} // namespace

std::string speedCommand(const Request& request) {
    const Topology topology = readSpeeds(request);
    return request.json ? machineDocument(request, topology)
                        : speedReport(topology, namedProcessors(topology, request.operands));
}

} // namespace quarrow
