#include <libQuarrow/os/recorded/FormatReader.h>
#include <libQuarrow/os/recorded/Recording.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace libQuarrow::os {
namespace {

bool isFolder(const std::string& path) {
    try {
        std::error_code ignored;
        return std::filesystem::is_directory(path, ignored);
    } catch (const std::exception&) {
        return false; // on Windows a path that is no UTF-8 is refused in this way; fopen will say what it thinks of it
    }
}

// Everything to the end, but never much more than a recording may have. False when reading fails.
bool readAll(std::FILE* file, std::string& text) {
    char buffer[1 << 16];
    std::size_t count = 0;
    while (text.size() <= maxRecordingBytes && (count = std::fread(buffer, 1, sizeof buffer, file)) != 0) {
        text.append(buffer, count);
    }
    return std::ferror(file) == 0;
}

} // namespace

boost::optional<Recording> readRecording(const std::string& path, RecordingError& error) {
    const bool standardInput = path == "-";
    const std::string name = standardInput ? "standard input" : path;
    const auto failed = [&](const std::string& what) {
        error.message = name + ": " + what + "; " + formatsRead;
        return boost::none;
    };
    if (!standardInput && isFolder(path)) {
        return failed("it is a folder");
    }
    const auto reason = [] { return std::generic_category().message(errno); };
    const auto close = [](std::FILE* file) { return file == stdin ? 0 : std::fclose(file); };
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(standardInput ? stdin : std::fopen(path.c_str(), "rb"),
                                                               close);
    if (file == nullptr) {
        return failed("it cannot be opened: " + reason());
    }
    std::string text;
    if (!readAll(file.get(), text)) {
        return failed("it cannot be read: " + reason());
    }
    return parseRecording(text, name, error);
}

} // namespace libQuarrow::os
