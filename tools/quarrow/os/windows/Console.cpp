#include <tools/quarrow/os/Console.h>

#include <zel/String.h>

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>

namespace quarrow {

Console::Console() {
    // 0 where there is no console, so that nothing is put back either.
    m_codePage = GetConsoleOutputCP();
    if (m_codePage != 0) {
        SetConsoleOutputCP(CP_UTF8);
    }
    for (std::FILE* stream : {stdin, stdout}) {
        _setmode(_fileno(stream), _O_BINARY);
    }
}

Console::~Console() {
    if (m_codePage != 0) {
        std::fflush(stdout);
        SetConsoleOutputCP(m_codePage);
    }
}

bool errorIsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

unsigned int terminalWidth() {
    CONSOLE_SCREEN_BUFFER_INFO screen{};
    if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &screen) == FALSE) {
        return 0;
    }
    return static_cast<unsigned int>(screen.srWindow.Right - screen.srWindow.Left + 1);
}

bool outputIsUtf8() {
    return true; // the constructor saw to it
}

std::vector<std::string> commandLine(int, char**) {
    // What main is given has lost every character outside the system's code page.
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; wide != nullptr && i < count; ++i) {
        const std::wstring text(wide[i]);
        arguments.push_back(zel::String(std::u16string(text.begin(), text.end())).toUtf8());
    }
    LocalFree(wide);
    return arguments;
}

} // namespace quarrow
