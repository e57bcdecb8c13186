#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Logging.h>
#include <tools/quarrow/Output.h>
#include <tools/quarrow/Text.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/os/Console.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <sstream>

using namespace quarrow;
namespace os = libQuarrow::os;

namespace {

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
    const Operand& operand = command.operand;
    if (operand.count != Operand::None) {
        const bool needed = operand.count == Operand::One;
        subcommand.add_option(operand.name, request.operands, operand.meaning)
            ->type_name("")
            ->required(needed)
            ->expected(1, operand.count == Operand::Any ? CLI::detail::expected_max_vector_size : 1);
    }
    for (const Option& option : command.options) {
        const auto keep = [&request, name = option.name](const std::string& value) { request.options[name] = value; };
        const std::string name = std::string("--") + option.name;
        if (*option.value == '\0') {
            subcommand.add_flag_callback(
                name, [keep] { keep(""); }, option.meaning);
        } else {
            subcommand.add_option_function<std::string>(name, keep, option.meaning)->type_name(option.value);
        }
    }
}

void describe(CLI::App& app, Arguments& arguments) {
    app.name("quarrow");
    app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    app.get_formatter()->label("Positionals", "Arguments");
    app.get_formatter()->column_width(20);
    app.footer(examples);
    app.allow_windows_style_options(false); // what begins with / is a path
    app.fallthrough();                      // options stand before or after the command
    app.require_subcommand(0, 1);
    app.set_help_flag("-h,--help", "Print this help, or that of a command, and exit");
    app.set_version_flag("--version", "quarrow " QUARROW_VERSION, "Print the version and exit");
    app.add_option("--machine", arguments.machineFile,
                   "Report the machine recorded in FILE instead of this one; - reads standard input")
        ->type_name("FILE");
    app.add_flag("--classic", arguments.request.classic, "Answer with the classic classes; see classic.md");
    app.add_flag("--json", arguments.request.json, "Print one JSON document, for programs");
    app.add_option("--log", arguments.logPriority,
                   "Log to standard error: 1 everything, 2 diagnostics, 3 notices, 4 failures")
        ->type_name("PRIORITY")
        ->check(CLI::Range(1, 4).description(""));
    app.add_flag("--process", arguments.process, "Visit processors by moving the process, not just the thread");
    for (const Command& command : allCommands()) {
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
        arguments.request.tscRateKnown = recorded->isTscRateKnown();
        inItsPlace = std::make_unique<os::ScopedMachine>(*recorded);
        arguments.request.machineFile = arguments.machineFile;
    }
    for (const Command& command : allCommands()) {
        if (app.got_subcommand(command.name)) {
            if (arguments.request.classic && command.classic == nullptr) {
                throw Failure(Failure::WrongInput,
                              command.name + std::string(" has no classic form; leave out --classic"));
            }
            return (arguments.request.classic ? command.classic : command.run)(arguments.request);
        }
    }
    return arguments.request.classic ? classicTreeCommand(arguments.request) : summaryCommand(arguments.request);
}

// The help in the columns of the terminal; what explains an option or a command stays behind it.
std::string fitted(const std::string& help) {
    const std::size_t columns = outputColumns();
    std::istringstream lines(help);
    std::string text;
    for (std::string line; std::getline(lines, line);) {
        if (line.size() <= columns) {
            text += line + "\n";
            continue;
        }
        const std::size_t gap = line.find("  ", line.find_first_not_of(' '));
        const std::size_t column = gap == std::string::npos ? 0 : line.find_first_not_of(' ', gap);
        text += hanging(line.substr(0, column), line.substr(column), columns);
    }
    return text;
}

// What was wrong with the command line, and where to look.
std::string explanation(const CLI::App& app, const CLI::ParseError& error) {
    std::string text = error.what();
    std::vector<std::string> surplus = app.remaining(true);
    surplus.erase(std::remove(surplus.begin(), surplus.end(), "--"), surplus.end());
    if (!surplus.empty()) {
        text = "'" + CLI::detail::join(surplus, " ") + "' is not understood";
    } else if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        text.resize(std::min(text.find(':'), text.size())); // it begins with the name
        text += " takes one value, once";
    }
    const auto commands = app.get_subcommands();
    return text + "; 'quarrow " + (commands.empty() ? "" : commands.front()->get_name() + " ") +
           "--help' lists what there is";
}

std::string run(std::vector<std::string> words) {
    CLI::App app{"All about the processors of an x86-64 machine, this one or a recorded one."};
    Arguments arguments;
    describe(app, arguments);
    try {
        std::reverse(words.begin(), words.end()); // as CLI11 takes them
        app.parse(std::move(words));
    } catch (const CLI::CallForHelp&) {
        return fitted(app.help()) + "\n";
    } catch (const CLI::CallForVersion& version) {
        return std::string(version.what()) + "\n";
    } catch (const CLI::ParseError& error) {
        throw Failure(Failure::WrongInput, explanation(app, error));
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
        return writeOutput(run(commandLine(argc, argv))) ? 0 : Failure::CannotAnswer;
    } catch (const Failure& failure) {
        return complain(failure.what(), failure.status());
    } catch (const std::exception& error) {
        return complain(std::string("this should not have happened: ") + error.what(), Failure::CannotAnswer);
    } catch (...) {
        return complain("this should not have happened: an exception of an unknown type", Failure::CannotAnswer);
    }
}
