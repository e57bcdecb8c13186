#include <libQuarrow/recording/formats/RecordingFile.h>

#include <libQuarrow/recording/formats/FormatReader.h>
#include <libQuarrow/recording/formats/ProcessorFiles.h>
#include <libQuarrow/recording/formats/RecordingParser.h>

#include <algorithm>
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

std::string reasonOfSystem() {
    return std::generic_category().message(errno);
}

boost::none_t refuse(const std::string& name, const std::string& what, RecordingError& error) {
    error.message = name + ": " + what + "; " + formatsRead;
    return boost::none;
}

// What hwloc-gather-cpuid wrote; other files of the folder do not matter. Only ordinary files are opened: another kind
// may not end.
boost::optional<Recording> readFolder(const std::filesystem::path& folder, const std::string& name,
                                      RecordingError& error) {
    ProcessorFiles files;
    std::size_t bytes = 0;
    std::error_code problem;
    for (std::filesystem::directory_iterator entry(folder, problem), end; !problem && entry != end;
         entry.increment(problem)) {
        const std::string fileName = entry->path().filename().u8string();
        const auto number = processorFileNumber(fileName);
        std::error_code ignored;
        if (!number || !entry->is_regular_file(ignored)) {
            continue;
        }
        std::ifstream file(entry->path(), std::ios::binary);
        std::string& text = files[*number];
        if (!file.is_open() || !readAll(file, text)) {
            return refuse(name + "/" + fileName, "it cannot be read: " + reasonOfSystem(), error);
        }
        bytes += text.size();
        if (bytes > maxRecordingBytes) {
            return refuse(name, "its files are larger than 64 MiB", error);
        }
    }
    return problem ? refuse(name, "it cannot be read: " + problem.message(), error)
                   : parseProcessorFiles(files, name, error);
}

} // namespace

boost::optional<Recording> readRecording(const std::string& path, RecordingError& error) {
    const bool standardInput = path == "-";
    const std::string name = standardInput ? "standard input" : path;
    std::ifstream file;
    if (!standardInput) {
        try {
            const std::filesystem::path place = std::filesystem::u8path(path);
            std::error_code ignored;
            if (std::filesystem::is_directory(place, ignored)) {
                return readFolder(place, name, error);
            }
            file.open(place, std::ios::binary);
        } catch (const std::exception&) {
            return refuse(name, "it is no file name", error); // Windows refuses one that is no UTF-8 in this way
        }
        if (!file.is_open()) {
            return refuse(name, "it cannot be opened: " + reasonOfSystem(), error);
        }
    }
    std::string bytes;
    // std::cin takes a failure of the C stream below it for the end.
    if (!readAll(standardInput ? std::cin : file, bytes) || (standardInput && std::ferror(stdin) != 0)) {
        return refuse(name, "it cannot be read: " + reasonOfSystem(), error);
    }
    return parseRecording(bytes, name, error);
}

bool isRecordingFolder(const std::string& path) {
    try {
        const std::filesystem::directory_iterator entries(std::filesystem::u8path(path));
        return std::any_of(begin(entries), end(entries), [](const std::filesystem::directory_entry& entry) {
            std::error_code ignored;
            return processorFileNumber(entry.path().filename().u8string()) && entry.is_regular_file(ignored);
        });
    } catch (const std::exception&) {
        return false; // no folder, or one that cannot be listed
    }
}

} // namespace libQuarrow::os
