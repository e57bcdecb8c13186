#include <tools/quarrow/commands/Commands.h>

#include <tools/quarrow/classic/ClassicCommands.h>

namespace quarrow {
namespace {

constexpr Operand processors = {Operand::Any, "LIST", "Logical processors, as in 0,4-7; without any, all"};
constexpr Option writeOption = {"write", "VALUE",
                                "Write VALUE instead of reading; this can halt or damage the machine"};

} // namespace

const std::vector<Command>& allCommands() {
    // clang-format off
    static const std::vector<Command> commands = {
        {"tree", treeCommand, "Packages, dies, cores and threads as a tree, then the caches", {}, {},
         classicTreeCommand},
        {"cpus", cpusCommand, "Everything about each logical processor, or those named", processors, {}, classicCpusCommand},
        {"features", featuresCommand, "What processors have, what of it can be used, x86-64 level", {}, {},
         classicFeaturesCommand},
        {"caches", cachesCommand, "Caches and TLBs, and which logical processors share each", {}, {},
         classicCachesCommand},
        {"leaves", leavesCommand, "Every CPUID leaf, or LEAF, each field named and explained",
         {Operand::AtMostOne, "LEAF", "Number in hexadecimal, with or without a sub-leaf, as in 7 or 0x80000026.1"},
         {{"all", "", "Each logical processor by itself; without it, what they have in common is told once"}}},
        {"picture", pictureCommand, "The machine drawn: packages, cores, threads, shared caches", {},
         {{"svg", "FILE", "Draw a picture for a report into FILE, in the SVG format; - is standard output"},
          {"html", "FILE", "Make FILE a page for a browser: summary, picture, caches, features, processors and leaves; - is standard output"},
          {"width", "COLUMNS", "Width of the text; without it, that of the terminal, of $COLUMNS, or 80"}},
         pictureCommand},
        {"limits", limitsCommand, "Throttle temperatures, turbo limits and performance levels",
         processors, {}, classicLimitsCommand},
        {"speed", speedCommand, "Measured time-stamp counters; base, turbo and other speeds", processors, {},
         classicSpeedCommand},
        {"affinity", affinityCommand, "Affinity of system, process and thread; or what TEXT means",
         {Operand::AtMostOne, "TEXT", "A list, as in 0,4-7, or group:mask, as in 0:Fh or 0:Fh/1:3h"}, {}, affinityCommand},
        {"record", recordCommand, "Write this machine down, to be read with --machine anywhere",
         {Operand::AtMostOne, "FILE", "Where to; without it, standard output"},
         {{"format", "NAME", "quarrow, which holds all that is known, or cpuid-r, the leaves as the cpuid program reads them"}},
         recordCommand},
        {"baseline", baselineCommand, "What all of several machines can run, and who lacks what",
         {Operand::Any, "FILE", "Recordings, JSON Lines, folders with them, - for either on standard input, native for this machine; without any, this machine"}},
        {"fleet", fleetCommand, "Many machines, those that are alike as groups",
         {Operand::Any, "FOLDER", "Folders of recordings and JSON Lines, such files, or - for either on standard input"},
         {{"html", "FILE", "Write one page for a browser into FILE; - is standard output"}}},
        {"export", exportCommand, "This machine in a form that other programs read",
         {Operand::One, "FORMAT", "hwloc-xml, jsonl, nfd, prometheus or slurm"},
         {{"name", "NAME", "What jsonl and slurm call the machine; without it, its file or this machine's host name"}}},
        {"msr", msrCommand, "Read or write a model-specific register of a processor",
         {Operand::One, "ADDRESS", "Number of the register, as in 0x1A2"},
         {{"cpu", "N", "Number of the logical processor; without it, the first one"}, writeOption}, msrCommand},
        {"mem", memCommand, "Read or write physical memory",
         {Operand::One, "ADDRESS", "Physical address, as in 0xF0000"},
         {{"size", "BYTES", "Size of the value: 1, 2, 4 or 8; without it, 4"},
          {"length", "BYTES", "Read a block of so many bytes, up to 16 MB"}, writeOption}, memCommand},
        {"port", portCommand, "Read or write an I/O port",
         {Operand::One, "PORT", "Number of the port, as in 0x70"},
         {{"size", "BYTES", "Size of the value: 1, 2 or 4; without it, 1"}, writeOption}, portCommand},
    };
    // clang-format on
    return commands;
}

} // namespace quarrow
