#include <tools/quarrow/os/Console.h>

#include <csignal>

namespace quarrow {

Console::Console() {
    std::signal(SIGPIPE, SIG_IGN);
}
Console::~Console() = default;

std::vector<std::string> commandLine(int argc, char** argv) {
    // A process can be started without even its name.
    return argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

} // namespace quarrow
