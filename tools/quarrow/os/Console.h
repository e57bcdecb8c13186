#pragma once

#include <string>
#include <vector>

namespace quarrow {

// Sets the process up for reading and writing as the tool does, and puts the terminal back at the end: UTF-8 on a
// terminal, bytes unchanged everywhere, and a closed pipe is a failed write that can be reported.
class Console {
  public:
    Console();
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

  private:
    [[maybe_unused]] unsigned int m_codePage = 0; // on Windows, to be put back; 0: nothing to put back
};

// Whether standard error is one.
bool errorIsTerminal();
// Columns of the terminal that standard output is; 0 when it is none.
unsigned int terminalWidth();
// Whether standard output takes characters outside ASCII: on Linux by the locale.
bool outputIsUtf8();

// The arguments after the program's name, in UTF-8 where the system knows what their characters are.
std::vector<std::string> commandLine(int argc, char** argv);

} // namespace quarrow
