#include <tools/quarrow/Text.h>
#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/classic/ClassicDocument.h>
#include <tools/quarrow/classic/MsrReach.h>
#include <tools/quarrow/classic/Processors.h>

#include <libQuarrow/cpu/x86/x86_intel_info.h>
#include <zel/Temperature.h>

#include <map>

namespace quarrow {

using libQuarrow::cpu::IntelTurboRatioLimit;
using libQuarrow::cpu::x86_cpu;
using nlohmann::ordered_json;

namespace {

// What an Intel processor tells of its limits.
struct Limits {
    boost::optional<std::uint32_t> celsius;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> turbo; // active cores, ratio; empty: not known

    bool isComplete() const { return celsius && !turbo.empty(); }
};

// None for other makers, whose limits are not read.
boost::optional<Limits> limitsOf(const x86_cpu& cpu) {
    const auto* intel = dynamic_cast<const libQuarrow::cpu::x86_intel_info*>(cpu.vendorInfo());
    if (intel == nullptr) {
        return boost::none;
    }
    Limits limits;
    std::uint32_t celsius = 0;
    if (intel->getTCCActivationTemperature(celsius) && celsius != 0) { // 0: a register that was left empty
        limits.celsius = celsius;
    }
    zel::Array<IntelTurboRatioLimit> ratios;
    if (intel->getTurboRatioLimits(ratios)) {
        for (const IntelTurboRatioLimit& limit : ratios) {
            limits.turbo.emplace_back(limit.activeCores, limit.ratio);
        }
    }
    return limits;
}

std::string classicLimitsText(const boost::optional<Limits>& limits) {
    if (!limits) {
        return line("Limits", "not known: they are read on Intel processors only");
    }
    std::string text =
        line("Throttles at", limits->celsius ? zel::Temperature(static_cast<int>(*limits->celsius)).toString()
                                             : zel::String("not known"));
    if (limits->turbo.empty()) {
        text += line("Turbo ratio", "not known");
    }
    for (const auto& [cores, ratio] : limits->turbo) {
        text += line(zel::String::SprintfFormat("Turbo, %u core%s", cores, cores == 1 ? "" : "s"),
                     zel::String::SprintfFormat("x %u", ratio));
    }
    return text;
}

ordered_json classicLimitsJson(const x86_cpu& cpu) {
    const Limits limits = limitsOf(cpu).value_or(Limits());
    ordered_json ratios;
    for (const auto& [cores, ratio] : limits.turbo) {
        ratios.push_back({{"activeCores", cores}, {"ratio", ratio}});
    }
    return {{"tccActivationCelsius", limits.celsius ? ordered_json(*limits.celsius) : ordered_json()},
            {"turboRatios", ratios}};
}

} // namespace

std::string classicLimitsCommand(const Request& request) {
    if (request.json) {
        return classicDocument(
            request, {[](const x86_cpu& cpu, ordered_json& element) { element["limits"] = classicLimitsJson(cpu); }});
    }
    MsrReach msrs;
    std::string whyNot;
    std::map<const x86_cpu*, std::string> descriptions;
    const Machine machine = readMachine(request, [&](const x86_cpu& cpu) {
        if (!isNamed(cpu, request.operands)) {
            return;
        }
        msrs.forget();
        const boost::optional<Limits> limits = limitsOf(cpu);
        if (whyNot.empty() && limits && !limits->isComplete()) {
            whyNot = msrs.whyNot();
        }
        descriptions[&cpu] = classicLimitsText(limits);
    });
    const std::string text = describedTogether(namedProcessors(machine.processors, request.operands),
                                               [&](const x86_cpu& cpu) { return descriptions.at(&cpu); });
    return whyNot.empty() ? text : text + "\n" + whyNot;
}

} // namespace quarrow
