#include <tools/quarrow/Commands.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Logging.h>
#include <tools/quarrow/Output.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/os/Console.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>

using namespace quarrow;
namespace os = libQuarrow::os;

namespace {

// An option of a single command.
struct Option {
    const char* name; // without the dashes
    const char* value;
    const char* meaning;
};

enum Operands { NoOperand, MayHaveOne, MayHaveMany, NeedsOne };

struct Command {
    const char* name;
    Operands operands;
    const char* operand;
    const char* operandMeaning;
    const char* description;
    std::string (*run)(const Request&);
    std::vector<Option> options = {};
};

constexpr Option writeOption = {"write", "VALUE", "Write VALUE there, which can harm the machine; nothing is read"};

const Command commands[] = {
    {"tree", NoOperand, "", "", "Packages, cores and threads, and each package's caches (when no command is given)",
     treeCommand},
    {"cpus", MayHaveMany, "N", "Logical processor numbers, as in 0 1 12",
     "Everything about each logical processor, or about those named", cpusCommand},
    {"features", NoOperand, "", "", "Features that the processors support, and those allowed for use", featuresCommand},
    {"caches", NoOperand, "", "", "Caches of each package, and which logical processors share them", cachesCommand},
    {"picture",
     NoOperand,
     "",
     "",
     "The machine drawn: packages, cores, threads, and the caches they share",
     pictureCommand,
     {{"svg", "FILE", "Draw into an SVG file instead, for a report"},
      {"width", "COLUMNS", "Of the text; without it, the terminal's, else COLUMNS of the environment, else 80"}}},
    {"limits", NoOperand, "", "",
     "Where Intel processors throttle, and how far they raise their multiplier; most of it needs the MSR driver",
     limitsCommand},
    {"speed", MayHaveMany, "N", "Logical processor numbers, as in 0 1 12",
     "Time-stamp counter and speeds of each logical processor, or of those named, measured", speedCommand},
    {"affinity", MayHaveOne, "TEXT", "An affinity: group:mask, as in 0:Fh or 0:Fh/1:3h",
     "Affinity of the system, the process and the thread; or what TEXT means", affinityCommand},
    {"record", MayHaveOne, "FILE", "Where to; without it, standard output",
     "Write this machine down, to be read with --machine anywhere", recordCommand},
    {"msr",
     NeedsOne,
     "ADDRESS",
     "Number of the register, as in 0x1A2",
     "Read, or with --write write, a model-specific register of one logical processor",
     msrCommand,
     {{"cpu", "N", "Number of the logical processor; without it, the first one"}, writeOption}},
    {"mem",
     NeedsOne,
     "ADDRESS",
     "Physical address, as in 0xF0000",
     "Read, or with --write write, physical memory",
     memCommand,
     {{"size", "BYTES", "Size of the value: 1, 2, 4 or 8; without it, 4"},
      {"length", "BYTES", "Read a block of so many bytes instead"},
      writeOption}},
    {"port",
     NeedsOne,
     "PORT",
     "Number of the port, as in 0x70",
     "Read, or with --write write, an I/O port",
     portCommand,
     {{"size", "BYTES", "Size of the value: 1, 2 or 4; without it, 1"}, writeOption}},
};

struct Arguments {
    Request request;
    std::string machineFile;      // empty: the machine that this runs on
    unsigned int logPriority = 0; // 0: nothing is logged
    bool process = false;
};

constexpr const char* examples = "Examples:\n"
                                 "  quarrow                             this machine\n"
                                 "  quarrow cpus 0                      its first logical processor\n"
                                 "  quarrow record mine.txt             write it down, to be sent to somebody else\n"
                                 "  quarrow --machine mine.txt caches   read it there\n"
                                 "  cpuid -r | quarrow --machine -      what another program recorded";

void describe(CLI::App& subcommand, const Command& command, Request& request) {
    if (command.operands != NoOperand) {
        CLI::Option* operand = subcommand.add_option(command.operand, request.operands, command.operandMeaning);
        operand->type_name("")->required(command.operands == NeedsOne);
        operand->expected(command.operands == NeedsOne ? 1 : 0,
                          command.operands == MayHaveMany ? CLI::detail::expected_max_vector_size : 1);
    }
    for (const Option& option : command.options) {
        const auto keep = [&request, name = option.name](const std::string& value) { request.options[name] = value; };
        subcommand.add_option_function<std::string>(std::string("--") + option.name, keep, option.meaning)
            ->type_name(option.value);
    }
}

void describe(CLI::App& app, Arguments& arguments) {
    app.name("quarrow");
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("Positionals", "Arguments");
    app.footer(examples);
    app.fallthrough(); // options stand before or after the command
    app.require_subcommand(0, 1);
    app.set_help_flag("-h,--help", "Print this help, or that of a command, and exit");
    app.set_version_flag("--version", "quarrow " QUARROW_VERSION, "Print the version and exit");
    app.add_option("--machine", arguments.machineFile,
                   "Report the machine recorded in FILE instead of this one; - reads standard input")
        ->type_name("FILE");
    app.add_flag("--json", arguments.request.json, "Print one JSON document, for programs");
    app.add_option("--log", arguments.logPriority,
                   "Log to standard error: 1 everything, 2 diagnostics, 3 notices, 4 failures")
        ->type_name("PRIORITY")
        ->check(CLI::Range(1, 4).description(""));
    app.add_flag("--process", arguments.process, "Visit processors by moving the whole process, not just the thread");
    for (const Command& command : commands) {
        CLI::App* subcommand = app.add_subcommand(command.name, command.description);
        subcommand->group("Commands")
            ->footer("The options that 'quarrow --help' lists stand before or after the command.");
        describe(*subcommand, command, arguments.request);
    }
}

std::string answer(const CLI::App& app, Arguments& arguments) {
    if (arguments.logPriority != 0) {
        logToStandardError(static_cast<zel::LogPriority>(arguments.logPriority));
    }
    arguments.request.threadAffinity = !arguments.process;

    std::unique_ptr<os::RecordedMachine> recorded;
    std::unique_ptr<os::ScopedMachine> inItsPlace;
    if (app.count("--machine") != 0) {
        if (arguments.machineFile.empty()) {
            throw Failure(Failure::WrongInput, "--machine needs the name of a file");
        }
        os::RecordingError error;
        boost::optional<os::Recording> recording = os::readRecording(arguments.machineFile, error);
        if (!recording) {
            throw Failure(Failure::WrongInput, error.message);
        }
        recorded = std::make_unique<os::RecordedMachine>(std::move(*recording));
        inItsPlace = std::make_unique<os::ScopedMachine>(*recorded);
        arguments.request.machine = arguments.machineFile;
    }
    const auto chosen = std::find_if(std::begin(commands), std::end(commands),
                                     [&app](const Command& command) { return app.got_subcommand(command.name); });
    return chosen != std::end(commands) ? chosen->run(arguments.request) : treeCommand(arguments.request);
}

constexpr const char* lookAtHelp = "; 'quarrow --help' tells what there is";

std::string run(std::vector<std::string> words) {
    CLI::App app{"Quarrow tells everything about the processors of an x86-64 machine: this one, or a recorded one."};
    Arguments arguments;
    describe(app, arguments);
    try {
        std::reverse(words.begin(), words.end()); // as CLI11 takes them
        app.parse(std::move(words));
    } catch (const CLI::CallForHelp&) {
        return app.help() + "\n";
    } catch (const CLI::CallForVersion& version) {
        return std::string(version.what()) + "\n";
    } catch (const CLI::ExtrasError&) {
        throw Failure(Failure::WrongInput, "no command, option or argument is expected here: " +
                                               CLI::detail::join(app.remaining(true), " ") + lookAtHelp);
    } catch (const CLI::ParseError& error) {
        throw Failure(Failure::WrongInput, error.what() + std::string(lookAtHelp));
    }
    return answer(app, arguments);
}

int complain(const std::string& message, int status) {
    std::fprintf(stderr, "quarrow: %s\n", oneLine(message).c_str());
    return status;
}

} // namespace

int main(int argc, char** argv) {
    const Console console;
    try {
        writeOutput(run(commandLine(argc, argv)));
        return 0;
    } catch (const Failure& failure) {
        return complain(failure.what(), failure.status());
    } catch (const std::exception& error) {
        return complain(std::string("this should not have happened: ") + error.what(), Failure::CannotAnswer);
    } catch (...) {
        return complain("this should not have happened: an exception of an unknown type", Failure::CannotAnswer);
    }
}
