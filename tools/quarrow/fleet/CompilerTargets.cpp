#include <tools/quarrow/fleet/CompilerTargets.h>

#include <tools/quarrow/fleet/compiler_targets.h>

#include <algorithm>
#include <string_view>

namespace quarrow {

using libQuarrow::topology::FeatureSet;

namespace {

std::vector<std::string_view> splitAt(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        if (end != 0) {
            parts.push_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

bool hasTarget(Compiler compiler, unsigned int version, const CompilerTarget& target) {
    const unsigned int from = compiler == Compiler::gcc ? target.gccFrom : target.clangFrom;
    const unsigned int to = compiler == Compiler::gcc ? target.gccTo : target.clangTo;
    return from != none && from <= version && version <= to;
}

// Of the rows of that name above `target` the one of this version of the compiler, else the first. Null without any.
const CompilerTarget* baseOf(Compiler compiler, unsigned int version, const CompilerTarget& target) {
    const CompilerTarget* base = nullptr;
    for (const CompilerTarget* row = compilerTargets; row != &target; ++row) {
        if (std::string_view(row->name) == target.base && (base == nullptr || hasTarget(compiler, version, *row))) {
            base = row;
        }
    }
    return base;
}

FeatureSet featuresOfRow(Compiler compiler, unsigned int version, const CompilerTarget& target) {
    FeatureSet features;
    const char* const also = compiler == Compiler::gcc ? target.gccAlso : target.clangAlso;
    for (const char* list : {target.features, also}) {
        for (const std::string_view name : splitAt(list, ' ')) {
            features.insert({name});
        }
    }
    const CompilerTarget* const base = baseOf(compiler, version, target);
    return base != nullptr ? features | featuresOfRow(compiler, version, *base) : features;
}

// What a compiler may use on the machine.
FeatureSet availableOn(const FleetMachine& common) {
    FeatureSet systems;
    for (const TargetSwitch& one : targetSwitches) {
        if (!one.isPrograms) {
            systems.insert({one.feature});
        }
    }
    return common.usable | (common.features & systems);
}

FeatureSet switchable() {
    FeatureSet features;
    for (const TargetSwitch& one : targetSwitches) {
        features.insert({one.feature});
    }
    return features;
}

bool isGeneric(const CompilerTarget& target) {
    return std::string_view(target.name).substr(0, 6) == "x86-64";
}

} // namespace

const char* nameOf(Compiler compiler) {
    return compiler == Compiler::gcc ? "gcc" : "clang";
}

std::string CompilerChoice::flags() const {
    std::string text = (is32Bit ? "-m32 -march=" : "-march=") + march;
    for (const std::string& off : switches) {
        text += " -m" + off;
    }
    return text + " -mtune=" + mtune;
}

unsigned int firstVersion(Compiler compiler) {
    return compiler == Compiler::gcc ? oldGcc : oldClang;
}

unsigned int lastVersion(Compiler compiler) {
    return compiler == Compiler::gcc ? newGcc : newClang;
}

std::string tuningOf(const FleetMachine& machine) {
    std::vector<std::string_view> names = {machine.codename};
    for (const FleetKind& kind : machine.kinds) {
        names.push_back(kind.microarchitecture);
    }
    for (const std::string_view name : names) {
        for (const CompilerTarget& target : compilerTargets) {
            const auto made = splitAt(target.madeFor, '|');
            if (!name.empty() && std::find(made.begin(), made.end(), name) != made.end()) {
                return target.name;
            }
        }
    }
    return {};
}

std::optional<CompilerChoice> choiceFor(Compiler compiler, unsigned int version, const FleetMachine& common,
                                        const std::vector<std::string>& tunings) {
    const FeatureSet available = availableOn(common);
    const FeatureSet mayBeOff = switchable();
    const bool isOfOneKind =
        !tunings.empty() && std::all_of(tunings.begin(), tunings.end(),
                                        [&](const std::string& tuning) { return tuning == tunings.front(); });
    const std::string tuning = isOfOneKind ? tunings.front() : std::string();
    CompilerChoice choice;
    choice.fromVersion = choice.toVersion = version;
    choice.mtune = "generic";
    bool isTuningFor32Bit = false;
    // Most features first; of as many the fleet's own target, then the generic one.
    std::pair<std::size_t, int> best = {0, 0};
    for (const CompilerTarget& target : compilerTargets) {
        if (!hasTarget(compiler, version, target)) {
            continue;
        }
        const FeatureSet features = featuresOfRow(compiler, version, target);
        if (target.name == tuning) {
            choice.mtune = tuning;
            isTuningFor32Bit = !features.contains("lm");
        }
        const FeatureSet missing = features - available;
        const std::pair<std::size_t, int> rank = {(features & available).count(), target.name == tuning ? 2
                                                                                  : isGeneric(target)   ? 1
                                                                                                        : 0};
        if (mayBeOff.containsAll(missing) && rank > best) {
            best = rank;
            choice.march = target.name;
            choice.is32Bit = !features.contains("lm");
            choice.switches.clear();
            for (const TargetSwitch& one : targetSwitches) {
                if (missing.contains(one.feature)) {
                    choice.switches.push_back(std::string("no-") + one.option);
                }
            }
        }
    }
    if (isTuningFor32Bit && !choice.is32Bit) {
        choice.mtune = "generic"; // a compiler for 64 bits refuses it
    }
    return choice.march.empty() ? std::nullopt : std::make_optional(choice);
}

std::vector<CompilerChoice> choicesFor(Compiler compiler, const FleetMachine& common,
                                       const std::vector<std::string>& tunings) {
    std::vector<CompilerChoice> choices;
    for (unsigned int version = lastVersion(compiler); version >= firstVersion(compiler); --version) {
        const std::optional<CompilerChoice> choice = choiceFor(compiler, version, common, tunings);
        if (!choice) {
            continue;
        }
        if (!choices.empty() && choices.back().flags() == choice->flags()) {
            choices.back().fromVersion = version;
        } else {
            choices.push_back(*choice);
        }
    }
    if (!choices.empty()) {
        choices.front().toVersion = 0;
    }
    return choices;
}

std::vector<std::string> targetsOf(Compiler compiler, unsigned int version) {
    std::vector<std::string> names;
    for (const CompilerTarget& target : compilerTargets) {
        if (hasTarget(compiler, version, target)) {
            names.emplace_back(target.name);
        }
    }
    return names;
}

FeatureSet featuresOfTarget(Compiler compiler, unsigned int version, const std::string& name) {
    for (const CompilerTarget& target : compilerTargets) {
        if (target.name == name && hasTarget(compiler, version, target)) {
            return featuresOfRow(compiler, version, target);
        }
    }
    return {};
}

} // namespace quarrow
