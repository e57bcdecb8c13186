#pragma once

#include <tools/quarrow/fleet/FleetMachine.h>

#include <string>
#include <vector>

// Which -march and -mtune of gcc and clang a fleet can take.

namespace quarrow {

enum class Compiler { gcc, clang };

// "gcc", "clang".
const char* nameOf(Compiler compiler);

struct CompilerChoice {
    unsigned int fromVersion = 0; // the first one that has it, of those that this version knows
    unsigned int toVersion = 0;   // the last one; 0: it holds from there on
    std::string march;
    std::string mtune;
    // What comes with the target and some machine lacks, switched off: {"no-sgx"}. Only what a compiler uses where a
    // program asks for it by name.
    std::vector<std::string> switches;
    bool is32Bit = false;

    // "-march=cascadelake -mno-sgx -mtune=cascadelake".
    std::string flags() const;
};

// What all of them can run. What is common to the machines decides the target, and their microarchitecture, where all
// have the same one, the tuning; else it is generic.
//
// For that version of the compiler. None for a version older than firstVersion(compiler), and where some machine is
// below every target, as one without floating point.
std::optional<CompilerChoice> choiceFor(Compiler compiler, unsigned int version, const FleetMachine& common,
                                        const std::vector<std::string>& tunings);
// The choices for all versions, the newest first, like ones of neighbouring versions joined.
std::vector<CompilerChoice> choicesFor(Compiler compiler, const FleetMachine& common,
                                       const std::vector<std::string>& tunings);
// The versions that the table tells apart; later ones are taken for the last.
unsigned int firstVersion(Compiler compiler);
unsigned int lastVersion(Compiler compiler);

// The name of the target that is made for the machine; empty where there is none.
std::string tuningOf(const FleetMachine& machine);

// For tests: the names of all targets that a version has, and the features of one.
std::vector<std::string> targetsOf(Compiler compiler, unsigned int version);
libQuarrow::topology::FeatureSet featuresOfTarget(Compiler compiler, unsigned int version, const std::string& target);

} // namespace quarrow
