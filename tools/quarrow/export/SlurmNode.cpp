#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/export/Exports.h>
#include <tools/quarrow/fleet/FleetMachine.h>

#include <libQuarrow/topology/features/isa.h>

#include <set>

namespace quarrow {

using libQuarrow::topology::Feature;
using libQuarrow::topology::ProcessorSet;
using libQuarrow::topology::Topology;
namespace isa = libQuarrow::topology::isa;

namespace {

// What jobs ask for beyond the level.
constexpr Feature slurmExtensions[] = {isa::aes,         isa::sha,      isa::avx,         isa::avx2,
                                       isa::avx_vnni,    isa::avx512f,  isa::avx512_vnni, isa::avx512_bf16,
                                       isa::avx512_fp16, isa::amx_tile, isa::amx_int8,    isa::amx_bf16};

// Letters, digits and underscores alone: the others have a meaning in a job's constraint.
std::string slurmWord(const std::string& text) {
    std::string word;
    for (const char c : text) {
        const bool isCapital = c >= 'A' && c <= 'Z';
        const bool isAllowed = isCapital || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
        word += isCapital ? static_cast<char>(c - 'A' + 'a') : isAllowed ? c : '_';
    }
    return word;
}

std::string slurmFeatures(const FleetMachine& machine) {
    std::vector<std::string> words = {slurmWord(machine.vendor), slurmWord(machine.codename)};
    for (const FleetKind& kind : machine.kinds) {
        words.push_back(slurmWord(kind.microarchitecture));
    }
    for (std::uint32_t level = 1; level <= machine.level.value_or(0); ++level) {
        words.push_back("x86_64_v" + std::to_string(level));
    }
    for (const Feature feature : slurmExtensions) {
        if (machine.usable.contains(feature)) {
            words.emplace_back(feature.name);
        }
    }
    std::set<std::string> seen;
    std::vector<std::string> each;
    for (const std::string& word : words) {
        if (seen.insert(word).second) {
            each.push_back(word);
        }
    }
    return joined(each, ",");
}

// How many processors each set has; several numbers where they differ.
std::set<std::size_t> countsOf(const std::vector<ProcessorSet>& sets) {
    std::set<std::size_t> counts;
    for (const ProcessorSet& set : sets) {
        counts.insert(set.count());
    }
    return counts;
}

std::string slurmNodeName(const std::string& name) {
    std::string text;
    for (const char c : name) {
        const bool isAllowed = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
                               c == '-' || c == '.';
        text += isAllowed ? c : '-';
    }
    return text;
}

} // namespace

// A line of slurm.conf (its manual page, "node configuration"). CPUs is the number of logical processors, which the
// product of the others must give; Sockets alone would follow from it with 1 for the others.
std::string slurmNode(const Topology& topology, const std::string& name) {
    if (name.empty()) {
        throw Failure(Failure::WrongInput, "it is not known what the machine is called; give --name NAME");
    }
    const FleetMachine machine = fleetMachineOf(topology);
    const std::set<std::size_t> perPackage = countsOf(topology.packages());
    const std::set<std::size_t> perCore = countsOf(topology.cores());
    std::string text;
    std::string sockets;
    if (perPackage.size() == 1 && perCore.size() == 1) {
        sockets = " Sockets=" + std::to_string(machine.packages) +
                  " CoresPerSocket=" + std::to_string(machine.cores / machine.packages) +
                  " ThreadsPerCore=" + std::to_string(*perCore.begin());
    } else {
        text = "# Cores or packages differ here (" + fleetBuild(machine) +
               "), which NodeName cannot say: CPUs alone are\n"
               "# given, and Slurm takes each for a socket of one core.\n";
    }
    return text + "NodeName=" + slurmNodeName(name) + " CPUs=" + std::to_string(machine.threads) + sockets +
           " Features=" + slurmFeatures(machine) + "\n";
}

} // namespace quarrow
