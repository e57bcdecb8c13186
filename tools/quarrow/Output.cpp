#include <tools/quarrow/Output.h>

#include <tools/quarrow/Failure.h>

#include <libQuarrow/document/WholeFile.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace quarrow {

bool writeOutput(const std::string& text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) {
        return true;
    }
    if (errno != EPIPE) {
        throw Failure(Failure::CannotAnswer,
                      "cannot write to standard output: " + std::generic_category().message(errno));
    }
    return false;
}

void writeFile(const std::string& path, const std::string& text) {
    try {
        libQuarrow::document::writeWholeFile(path, text);
    } catch (const libQuarrow::document::FileError& error) {
        throw Failure(error.isInput() ? Failure::WrongInput : Failure::CannotAnswer, error.what());
    }
}

} // namespace quarrow
