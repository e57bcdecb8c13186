#include <libQuarrow/recording/formats/RecordingFile.h>

#include <libQuarrow/recording/formats/FormatReader.h>
#include <libQuarrow/recording/formats/RecordingParser.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <system_error>

namespace libQuarrow::os {
namespace {

// Everything to the end, but never much more than a recording may have. False when reading fails.
bool readAll(std::istream& file, std::string& text) {
    char buffer[1 << 16];
    while (text.size() <= maxRecordingBytes && (file.read(buffer, sizeof buffer), file.gcount() != 0)) {
        text.append(buffer, static_cast<std::size_t>(file.gcount()));
    }
    return !file.bad();
}

} // namespace

boost::optional<Recording> readRecording(const std::string& path, RecordingError& error) {
    const bool standardInput = path == "-";
    const std::string name = standardInput ? "standard input" : path;
    const auto failed = [&](const std::string& what) {
        error.message = name + ": " + what + "; " + formatsRead;
        return boost::none;
    };
    const auto reason = [] { return std::generic_category().message(errno); };
    std::ifstream file;
    if (!standardInput) {
        try {
            const std::filesystem::path place = std::filesystem::u8path(path);
            std::error_code ignored;
            if (std::filesystem::is_directory(place, ignored)) {
                return failed("it is a folder");
            }
            file.open(place, std::ios::binary);
        } catch (const std::exception&) {
            return failed("it is no file name"); // Windows refuses one that is no UTF-8 in this way
        }
        if (!file.is_open()) {
            return failed("it cannot be opened: " + reason());
        }
    }
    std::string text;
    // std::cin takes a failure of the C stream below it for the end.
    if (!readAll(standardInput ? std::cin : file, text) || (standardInput && std::ferror(stdin) != 0)) {
        return failed("it cannot be read: " + reason());
    }
    return parseRecording(text, name, error);
}

} // namespace libQuarrow::os
