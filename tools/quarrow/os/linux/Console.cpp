#include <tools/quarrow/os/Console.h>

#include <csignal>
#include <cstring>
#include <langinfo.h>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale() is of POSIX
#include <sys/ioctl.h>
#include <unistd.h>

namespace quarrow {

Console::Console() {
    // Writing fails instead, and what was begun is taken away again.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}
Console::~Console() = default;

bool errorIsTerminal() {
    return ::isatty(STDERR_FILENO) != 0;
}

unsigned int terminalWidth() {
    winsize size{};
    return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

bool outputIsUtf8() {
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", static_cast<locale_t>(nullptr));
    const bool utf8 =
        locale != static_cast<locale_t>(nullptr) && std::strcmp(::nl_langinfo_l(CODESET, locale), "UTF-8") == 0;
    if (locale != static_cast<locale_t>(nullptr)) {
        ::freelocale(locale);
    }
    return utf8;
}

std::vector<std::string> commandLine(int argc, char** argv) {
    // A process can be started without even its name.
    return argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

} // namespace quarrow
