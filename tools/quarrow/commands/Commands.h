#pragma once

#include <tools/quarrow/Request.h>

#include <string>
#include <vector>

namespace quarrow {

// One function per command. Each returns everything that the command writes to standard output, and throws Failure when
// it has no answer.
std::string summaryCommand(const Request& request); // without a command
std::string treeCommand(const Request& request);
std::string cpusCommand(const Request& request);
std::string featuresCommand(const Request& request);
std::string cachesCommand(const Request& request);
std::string leavesCommand(const Request& request);
std::string pictureCommand(const Request& request);
std::string limitsCommand(const Request& request);
std::string speedCommand(const Request& request); // shows its progress on standard error, where that is a terminal
std::string affinityCommand(const Request& request);
std::string recordCommand(const Request& request);
std::string exportCommand(const Request& request);
std::string fleetCommand(const Request& request);    // shows its progress as speed does
std::string baselineCommand(const Request& request); // says on standard error what was left out of a folder
// With --write these say on standard error what they are about to do.
std::string msrCommand(const Request& request);
std::string memCommand(const Request& request);
std::string portCommand(const Request& request);

// What follows a command on the command line.
struct Operand {
    enum Count { None, AtMostOne, Any, One };

    Count count = None;
    const char* name = "";
    const char* meaning = "";
};

// An option of a single command.
struct Option {
    const char* name;  // without the dashes
    const char* value; // empty for an option that is just there or not
    const char* meaning;
};

struct Command {
    const char* name;
    std::string (*run)(const Request&);
    const char* description;
    Operand operand = {};
    std::vector<Option> options = {};
    // With --classic, the same where there is but one answer or the command looks itself; null where there is none.
    std::string (*classic)(const Request&) = nullptr;
};

// In the order of the help.
const std::vector<Command>& allCommands();

} // namespace quarrow
