#include <tools/quarrow/Document.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/fleet/Baseline.h>
#include <tools/quarrow/fleet/CompilerTargets.h>
#include <tools/quarrow/fleet/FleetReader.h>

#include <cstdio>

namespace quarrow {

using libQuarrow::topology::FeatureSet;
using nlohmann::ordered_json;

namespace {

struct BaselineInput {
    FleetGroups groups;
    std::vector<std::pair<std::string, FleetMachine>> firstTwo;
};

// A machine that was named and cannot be read would make the answer wrong. What else lies in a folder is left out.
BaselineInput readBaselineInput(const Request& request) {
    BaselineInput input;
    const FleetSink sink = {[&input](const std::string& name, FleetMachine&& machine) {
                                if (input.firstTwo.size() < 2) {
                                    input.firstTwo.emplace_back(name, machine);
                                }
                                input.groups.add(name, std::move(machine));
                            },
                            [](const std::string& what, bool isNamed) {
                                if (isNamed) {
                                    throw Failure(Failure::WrongInput, what);
                                }
                                std::fprintf(stderr, "quarrow: left out %s\n", oneLine(what).c_str());
                            }};
    readFleet(request, request.operands.empty() ? std::vector<std::string>{"native"} : request.operands, sink);
    if (input.groups.machines() == 0) {
        throw Failure(Failure::WrongInput,
                      "there is no machine in what was named; name recordings, files of JSON Lines "
                      "or folders with them");
    }
    return input;
}

std::string levelOrNo(const std::optional<std::uint32_t>& level) {
    return level ? levelText(level) : "no x86-64 level";
}

// "a, b, c and 97 more"
std::string someOf(const std::vector<std::string>& names) {
    constexpr std::size_t most = 5;
    const std::vector<std::string> shown(names.begin(),
                                         names.begin() + static_cast<std::ptrdiff_t>(std::min(names.size(), most)));
    const std::size_t others = names.size() - shown.size();
    return joined(shown) + (others == 0 ? "" : " and " + std::to_string(others) + " more");
}

// "gcc 13 and later", "gcc 11 and 12", "clang 13 to 15".
std::string versionsOf(Compiler compiler, const CompilerChoice& choice) {
    const std::string from = std::string(nameOf(compiler)) + " " + std::to_string(choice.fromVersion);
    if (choice.toVersion == 0) {
        return from + " and later";
    }
    const std::string to = std::to_string(choice.toVersion);
    return choice.toVersion == choice.fromVersion       ? from
           : choice.toVersion == choice.fromVersion + 1 ? from + " and " + to
                                                        : from + " to " + to;
}

std::string choicesText(const Baseline& baseline, std::size_t columns) {
    std::string text;
    for (const Compiler compiler : {Compiler::gcc, Compiler::clang}) {
        const std::vector<CompilerChoice> choices = choicesFor(compiler, baseline.common, baseline.tunings);
        for (const CompilerChoice& choice : choices) {
            text += paragraph(versionsOf(compiler, choice), choice.flags(), columns);
        }
        text += choices.empty() ? paragraph(nameOf(compiler), "no target", columns) : std::string();
    }
    return text;
}

std::string holdersText(const Baseline& baseline, std::size_t columns) {
    std::string text;
    for (const Baseline::Holder& holder : baseline.holders) {
        const std::string lacks = holder.lacks.empty() ? "" : "; lacks " + featureNames(holder.lacks);
        text += "\n" + paragraph("Held back by", someOf(holder.names), columns) +
                paragraph("  which", (holder.level ? "runs " : "has ") + levelOrNo(holder.level) + lacks, columns);
    }
    return text;
}

// A line of a comparison: what each of the two has, where they differ.
std::string differing(const char* label, const std::string& first, const std::string& second, std::size_t columns) {
    return first == second ? std::string()
                           : paragraph(label, first.empty() ? "not known" : first, columns) +
                                 paragraph("", second.empty() ? "not known" : second, columns);
}

std::string signatureText(const FleetMachine& machine) {
    return "family " + std::to_string(machine.family) + ", model " + std::to_string(machine.model) + ", stepping " +
           std::to_string(machine.stepping);
}

// "0xb000040"; cores of different kinds may have different ones.
std::string revisionsText(const FleetMachine& machine) {
    std::vector<std::string> texts;
    for (const std::uint32_t revision : machine.microcode) {
        texts.push_back(microcodeText(std::make_optional(revision)));
    }
    return joined(texts);
}

std::string countText(std::size_t count) {
    return count == 0 ? "" : std::to_string(count);
}

// With the ways and lines of each.
std::string cacheFigures(const FleetMachine& machine) {
    std::vector<std::string> texts;
    for (const FleetCache& cache : machine.caches) {
        const std::string ways = !cache.ways        ? "ways not known"
                                 : *cache.ways == 0 ? "fully associative"
                                                    : counted(*cache.ways, "way");
        const std::string lines =
            cache.lineSizeBytes ? std::to_string(*cache.lineSizeBytes) + " bytes" : "unknown size";
        texts.push_back(fleetCache(cache) + " (" + ways + ", lines of " + lines + ")");
    }
    return joined(texts);
}

std::string differenceText(const std::vector<std::pair<std::string, FleetMachine>>& two, std::size_t columns) {
    const FleetMachine& a = two[0].second;
    const FleetMachine& b = two[1].second;
    const auto differ = [columns](const char* label, const std::string& first, const std::string& second) {
        return differing(label, first, second, columns);
    };
    const auto only = [columns](const char* label, const FeatureSet& first, const FeatureSet& second) {
        const FeatureSet more = first - second;
        return more.empty() ? std::string() : paragraph(label, featureNames(more), columns);
    };
    // Where the short words are the same, the facts behind them may not be.
    const std::string build = differ("Built as", fleetBuild(a), fleetBuild(b));
    const std::string caches = differ("Caches", fleetCaches(a), fleetCaches(b));
    const std::string text =
        differ("Maker", a.vendor, b.vendor) + differ("Name", fleetName(a), fleetName(b)) +
        differ("Signature", signatureText(a), signatureText(b)) +
        differ("Microcode", revisionsText(a), revisionsText(b)) + differ("Codename", a.codename, b.codename) +
        differ("Kinds of core", fleetKinds(a), fleetKinds(b)) +
        (!build.empty() ? build
                        : differ("Dies", countText(a.dies.value_or(0)), countText(b.dies.value_or(0))) +
                              differ("NUMA nodes", countText(a.numaNodes), countText(b.numaNodes))) +
        (!caches.empty() ? caches : differ("Caches", cacheFigures(a), cacheFigures(b))) +
        differ("Level", levelOrNo(a.level), levelOrNo(b.level)) +
        differ("Hypervisor", a.hypervisor.empty() ? "none" : a.hypervisor,
               b.hypervisor.empty() ? "none" : b.hypervisor) +
        only("Usable in first", a.usable, b.usable) + only("Usable in second", b.usable, a.usable) +
        only("Has only the first", a.features - a.usable, b.features) +
        only("Has only the second", b.features - b.usable, a.features);
    return "\n" + paragraph("First", two[0].first, columns) + paragraph("Second", two[1].first, columns) +
           (text.empty() ? "They are alike.\n" : "They differ in:\n" + text);
}

std::string baselineText(const BaselineInput& input) {
    const Baseline baseline = baselineOf(input.groups);
    const std::size_t columns = outputColumns();
    const std::string text = paragraph("Machines", std::to_string(input.groups.machines()), columns) +
                             paragraph("Level", levelOrNo(baseline.common.level), columns) +
                             choicesText(baseline, columns) +
                             paragraph("Programs can use", orNone(featureNames(baseline.common.usable)), columns);
    return text +
           (input.groups.machines() == 2 ? differenceText(input.firstTwo, columns) : holdersText(baseline, columns));
}

ordered_json levelJson(const std::optional<std::uint32_t>& level) {
    return level ? ordered_json(*level) : ordered_json();
}

ordered_json choicesJson(Compiler compiler, const Baseline& baseline) {
    ordered_json list = ordered_json::array();
    for (const CompilerChoice& choice : choicesFor(compiler, baseline.common, baseline.tunings)) {
        list.push_back({{"fromVersion", choice.fromVersion},
                        {"toVersion", choice.toVersion == 0 ? ordered_json() : ordered_json(choice.toVersion)},
                        {"march", choice.march},
                        {"mtune", choice.mtune},
                        {"flags", choice.flags()}});
    }
    return list;
}

ordered_json differenceJson(const std::vector<std::pair<std::string, FleetMachine>>& two) {
    ordered_json list = ordered_json::array();
    for (std::size_t n = 0; n < two.size(); ++n) {
        const FleetMachine& one = two[n].second;
        const FleetMachine& other = two[1 - n].second;
        ordered_json element = {{"machine", two[n].first}};
        element.update(fleetJson(one));
        element["microcode"] = one.microcode.empty() ? ordered_json() : ordered_json(one.microcode);
        element["usableHereOnly"] = (one.usable - other.usable).names();
        element["featuresHereOnly"] = (one.features - other.features).names();
        list.push_back(std::move(element));
    }
    return list;
}

// The names of the facts, in the differences, that are not the same.
ordered_json differingJson(const ordered_json& differences) {
    ordered_json names = ordered_json::array();
    for (const auto& [key, value] : differences[0].items()) {
        const std::string& name = key;
        if (name != "machine" && value != differences[1][name]) {
            names.push_back(name.substr(0, name.find("HereOnly")));
        }
    }
    return names;
}

std::string baselineJson(const BaselineInput& input) {
    const Baseline baseline = baselineOf(input.groups);
    ordered_json holders = ordered_json::array();
    for (const Baseline::Holder& holder : baseline.holders) {
        holders.push_back(
            {{"machines", holder.names}, {"level", levelJson(holder.level)}, {"lacks", holder.lacks.names()}});
    }
    const bool isPair = input.groups.machines() == 2;
    const ordered_json differences = isPair ? differenceJson(input.firstTwo) : ordered_json();
    return documentText({{"quarrow", QUARROW_VERSION},
                         {"baseline",
                          {{"machines", input.groups.machines()},
                           {"level", levelJson(baseline.common.level)},
                           {"gcc", choicesJson(Compiler::gcc, baseline)},
                           {"clang", choicesJson(Compiler::clang, baseline)},
                           {"features", baseline.common.features.names()},
                           {"usable", baseline.common.usable.names()},
                           {"heldBackBy", holders},
                           {"differIn", isPair ? differingJson(differences) : ordered_json()},
                           {"differences", differences}}}});
}

} // namespace

std::string baselineCommand(const Request& request) {
    const BaselineInput input = readBaselineInput(request);
    return request.json ? baselineJson(input) : baselineText(input);
}

} // namespace quarrow
