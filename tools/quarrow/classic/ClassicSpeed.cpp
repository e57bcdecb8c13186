#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/classic/ClassicDocument.h>
#include <tools/quarrow/classic/MsrReach.h>
#include <tools/quarrow/classic/Processors.h>

#include <libQuarrow/cpu/x86/x86_speed_metrics.h>

#include <algorithm>
#include <map>

namespace quarrow {

using boost::optional;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_speed_metrics;
using nlohmann::ordered_json;

namespace {

constexpr const char* doing = "Measuring"; // beside the progress bar

struct Speed {
    optional<std::uint64_t> tsc;
    x86_speed_metrics metrics;
};

// Asked while the thread is on the processor. A replay runs the counter at a rate of its own where the recording does
// not tell it: then nothing is known that was measured.
Speed measure(const Request& request, const x86_cpu& cpu) {
    Speed speed;
    std::uint64_t hertz = 0;
    if (request.tscRateKnown && cpu.calculateSpeedTSC(hertz)) {
        speed.tsc = hertz;
    }
    cpu.getSpeedMetrics(speed.metrics); // where it fails, nothing is known
    if (!request.tscRateKnown && speed.metrics.currentMultiplier == 0) {
        speed.metrics.currentSpeed = boost::none;
    }
    return speed;
}

zel::String classicMegahertz(const optional<std::uint64_t>& hertz) {
    return hertz ? zel::String::SprintfFormat("%.1f", static_cast<double>(*hertz) / 1e6) : zel::String();
}

zel::String multiplier(const x86_speed_metrics& metrics) {
    zel::String text;
    metrics.getCurrentMultiplierString(text, true);
    return text;
}

zel::String turboRatio(const x86_speed_metrics& metrics) {
    return metrics.turboRatio ? "x " + x86_speed_metrics::getMultiplierString(*metrics.turboRatio,
                                                                              x86_speed_metrics::trimmedPrecision, 0)
                              : zel::String();
}

// A column of the table; its cells are empty where nothing is known.
struct Column {
    const char* heading;
    zel::String (*cell)(const Speed&);
};

constexpr Column columns[] = {
    {"TSC", [](const Speed& speed) { return classicMegahertz(speed.tsc); }},
    {"Bus", [](const Speed& speed) { return classicMegahertz(speed.metrics.busClock); }},
    {"Multiplier", [](const Speed& speed) { return multiplier(speed.metrics); }},
    {"Set to", [](const Speed& speed) { return classicMegahertz(speed.metrics.currentSpeed); }},
    {"Ran at", [](const Speed& speed) { return classicMegahertz(speed.metrics.effectiveSpeed); }},
    {"Lowest", [](const Speed& speed) { return classicMegahertz(speed.metrics.lowestSpeed); }},
    {"Highest", [](const Speed& speed) { return classicMegahertz(speed.metrics.highestSpeed); }},
    {"Turbo", [](const Speed& speed) { return classicMegahertz(speed.metrics.turboSpeed); }},
    {"Turbo ratio", [](const Speed& speed) { return turboRatio(speed.metrics); }},
};

// Cells below their heading, on the right; "-" where nothing is known.
using Cells = std::vector<zel::String>;

Cells padded(Cells cells) {
    std::size_t width = 0;
    for (zel::String& cell : cells) {
        cell = cell.isEmpty() ? zel::String("-") : cell;
        width = std::max(width, cell.size());
    }
    for (zel::String& cell : cells) {
        cell = zel::String::repeat(" ", width - cell.size()) + cell;
    }
    return cells;
}

std::string classicSpeedTable(const Processors& processors, const std::vector<Speed>& speeds,
                              const std::string& whyNoMsrs) {
    Cells numbers{"CPU"};
    for (const x86_cpu* cpu : processors) {
        numbers.push_back(numberRanges({cpu}));
    }
    std::vector<Cells> columnsKnown{padded(numbers)};
    zel::Array<zel::String> unknown;
    for (const Column& column : columns) {
        Cells cells{column.heading};
        std::transform(speeds.begin(), speeds.end(), std::back_inserter(cells), column.cell);
        if (std::all_of(cells.begin() + 1, cells.end(), [](const zel::String& cell) { return cell.isEmpty(); })) {
            unknown.append(column.heading);
        } else {
            columnsKnown.push_back(padded(cells));
        }
    }
    const bool anyKnown = columnsKnown.size() > 1;
    std::string text = anyKnown ? "Speeds in MHz.\n\n" : "";
    for (std::size_t row = 0; anyKnown && row <= processors.size(); ++row) {
        for (const Cells& cells : columnsKnown) {
            text += (&cells == &columnsKnown.front() ? "" : "  ") + cells[row].toUtf8();
        }
        text += "\n";
    }
    if (unknown.isEmpty()) {
        return text;
    }
    text += anyKnown ? "\n" : "";
    text += "Not known: " + zel::String::join(unknown, ", ").toUtf8() + ".\n";
    return text + whyNoMsrs;
}

std::string classicSpeedReport(const Request& request) {
    MsrReach msrs;
    std::string whyNoMsrs;
    std::map<const x86_cpu*, Speed> measured;
    const auto visit = [&](const x86_cpu& cpu) {
        if (isNamed(cpu, request.operands)) {
            msrs.forget();
            measured[&cpu] = measure(request, cpu);
            whyNoMsrs = msrs.whyNot().empty() ? whyNoMsrs : msrs.whyNot();
        }
    };
    const Machine machine = readMachine(request, visit, doing);
    const Processors named = namedProcessors(machine.processors, request.operands);
    std::vector<Speed> speeds;
    for (const x86_cpu* cpu : named) {
        speeds.push_back(measured.at(cpu));
    }
    return classicSpeedTable(named, speeds, whyNoMsrs);
}

template <class Number>
ordered_json numberOrNull(const optional<Number>& number) {
    return number && *number != 0 ? ordered_json(*number) : ordered_json();
}

ordered_json classicSpeedJson(const Speed& speed) {
    const x86_speed_metrics& metrics = speed.metrics;
    return {{"tscHertz", numberOrNull(speed.tsc)},
            {"busClockHertz", numberOrNull(metrics.busClock)},
            {"multiplier",
             {{"current", numberOrNull<double>(metrics.currentMultiplier)},
              {"effective", numberOrNull<double>(metrics.effectiveMultiplier)},
              {"lowest", numberOrNull<double>(metrics.minMultiplier)},
              {"highest", numberOrNull<double>(metrics.maxMultiplier)}}},
            {"hertz",
             {{"current", numberOrNull(metrics.currentSpeed)},
              {"effective", numberOrNull(metrics.effectiveSpeed)},
              {"lowest", numberOrNull(metrics.lowestSpeed)},
              {"highest", numberOrNull(metrics.highestSpeed)}}},
            {"turbo", {{"ratio", numberOrNull(metrics.turboRatio)}, {"hertz", numberOrNull(metrics.turboSpeed)}}}};
}

} // namespace

std::string classicSpeedCommand(const Request& request) {
    if (!request.json) {
        return classicSpeedReport(request);
    }
    const auto addSpeed = [&request](const x86_cpu& cpu, ordered_json& element) {
        element["speed"] = classicSpeedJson(measure(request, cpu));
    };
    return classicDocument(request, {addSpeed, doing});
}

} // namespace quarrow
