#include <tools/quarrow/fleet/FleetReader.h>

#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Progress.h>
#include <tools/quarrow/TopologyReading.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingFile.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace quarrow {

namespace fs = std::filesystem;
namespace os = libQuarrow::os;
using nlohmann::json;

namespace {

const char* const standardInputName = "standard input";

struct FleetFile {
    fs::path path;
    std::string name;
    std::uintmax_t bytes = 0;
    bool isNamed = false;
};

// All files below a folder, by name, and folders that are a machine; links to folders are not followed, so that none
// comes twice.
void listFiles(const fs::path& folder, bool isNamed, std::vector<FleetFile>& files, const FleetSink& sink) {
    if (os::isRecordingFolder(folder.u8string())) {
        files.push_back({folder, folder.u8string(), 0, isNamed});
        return;
    }
    std::error_code error;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->path().filename().u8string().front() != '.') {
            entries.push_back(*entry);
        }
    }
    if (error) {
        sink.leaveOut(folder.u8string() + ": it cannot be listed: " + error.message(), isNamed);
    }
    std::sort(entries.begin(), entries.end());
    for (const fs::directory_entry& entry : entries) {
        std::error_code ignored;
        if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) {
            listFiles(entry.path(), false, files, sink);
        } else if (entry.is_regular_file(ignored)) {
            const std::uintmax_t bytes = entry.file_size(ignored);
            files.push_back({entry.path(), entry.path().u8string(), ignored ? 0 : bytes, false});
        }
    }
}

// Recordings can be JSON too, but none with a member of that name; in a document it stands before all that is long.
bool looksLikeDocument(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string beginning(1 << 16, '\0');
    file.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
    beginning.resize(static_cast<std::size_t>(file.gcount()));
    const std::size_t first = beginning.find_first_not_of(" \t\r\n");
    return first != std::string::npos && beginning[first] == '{' && beginning.find("\"document\"") != std::string::npos;
}

void takeDocument(const std::string& text, const std::string& place, bool isNamed, const FleetSink& sink) {
    const json document = json::parse(text, nullptr, false);
    if (document.is_discarded()) {
        sink.leaveOut(place + ": it is no JSON; 'quarrow export jsonl' writes such lines", isNamed);
        return;
    }
    std::string error;
    std::optional<FleetMachine> machine = fleetMachineOf(document, error);
    if (!machine) {
        sink.leaveOut(place + ": " + error, isNamed);
        return;
    }
    const auto name = document.find("machine");
    const bool isTold = name != document.end() && name->is_string() && *name != "native" && *name != "-";
    sink.take(isTold ? name->get<std::string>() : place, std::move(*machine));
}

// Of the current machine.
std::optional<FleetMachine> readCurrentMachine(bool useThreadAffinity) {
    libQuarrow::topology::TopologyRequest request;
    request.useThreadAffinity = useThreadAffinity;
    request.microcode = true;
    const std::optional<Topology> topology = Topology::read(request);
    return topology && !topology->processors().empty() ? std::make_optional(fleetMachineOf(*topology)) : std::nullopt;
}

// `place`: where to read it, as for readRecording().
void takeRecording(const std::string& place, const std::string& name, bool isNamed, const FleetSink& sink) {
    os::RecordingError error;
    boost::optional<os::Recording> recording = os::readRecording(place, error);
    if (!recording) {
        sink.leaveOut(error.message, isNamed);
        return;
    }
    os::RecordedMachine machine(std::move(*recording));
    const os::ScopedMachine inItsPlace(machine);
    if (std::optional<FleetMachine> taken = readCurrentMachine(true)) {
        sink.take(name, std::move(*taken));
    } else {
        sink.leaveOut(name + ": no logical processor could be read", isNamed);
    }
}

// One recording, or JSON Lines, which are read line by line however many there are. So a recording that is JSON itself
// is taken for these.
void takeStandardInput(const FleetSink& sink) {
    while (std::cin.peek() == '\n' || std::cin.peek() == '\r' || std::cin.peek() == ' ') {
        std::cin.get();
    }
    if (std::cin.peek() == '{' || std::cin.eof()) {
        readJsonLines(std::cin, standardInputName, true, sink);
    } else {
        takeRecording("-", standardInputName, true, sink);
    }
}

void takeFile(const FleetFile& file, const FleetSink& sink, const std::function<void(std::size_t)>& advance) {
    if (!looksLikeDocument(file.path)) { // nor does a folder
        takeRecording(file.name, file.name, file.isNamed, sink);
        return;
    }
    std::ifstream lines(file.path, std::ios::binary);
    readJsonLines(lines, file.name, file.isNamed, sink, advance);
}

// A line without its end; false at the end of the stream. What is longer than a recording may be is cut there, so that
// no more memory is taken; it is no JSON then.
bool readLine(std::istream& lines, std::string& line) {
    line.clear();
    std::streambuf& buffer = *lines.rdbuf();
    int next = buffer.sbumpc();
    if (next == std::char_traits<char>::eof()) {
        return false;
    }
    for (; next != std::char_traits<char>::eof() && next != '\n'; next = buffer.sbumpc()) {
        if (line.size() < os::maxRecordingBytes) {
            line.push_back(static_cast<char>(next));
        }
    }
    return true;
}

bool isBlank(const std::string& line) {
    return line.find_first_not_of(" \t\r") == std::string::npos;
}

} // namespace

void readJsonLines(std::istream& lines, const std::string& name, bool isNamed, const FleetSink& sink,
                   const std::function<void(std::size_t)>& advance) {
    std::string line;
    for (std::size_t number = 1; readLine(lines, line); ++number) {
        if (advance) {
            advance(line.size() + 1);
        }
        if (isBlank(line)) {
            continue;
        }
        if (number == 1 && line.front() == '{' && isBlank(line.substr(1))) {
            for (std::string more; line.size() <= os::maxRecordingBytes && readLine(lines, more);) {
                line += "\n" + more;
            }
            takeDocument(line, name, isNamed, sink);
            return;
        }
        takeDocument(line, name + ":" + std::to_string(number), isNamed, sink);
    }
}

void readFleet(const Request& request, const std::vector<std::string>& operands, const FleetSink& sink) {
    std::vector<FleetFile> files; // in the order of the operands; the two that are no file have no path
    for (const std::string& operand : operands) {
        if (operand == "-" || operand == "native") {
            files.push_back({{}, operand, 0, true});
            continue;
        }
        const fs::path path = fs::u8path(operand);
        std::error_code error;
        const fs::file_status status = fs::status(path, error);
        if (!fs::exists(status)) {
            const bool isAbsent = status.type() == fs::file_type::not_found;
            throw Failure(Failure::WrongInput,
                          operand + ": " + (isAbsent ? "there is no such file or folder" : error.message()));
        }
        if (fs::is_directory(status)) {
            listFiles(path, true, files, sink);
        } else {
            const std::uintmax_t bytes = fs::file_size(path, error);
            files.push_back({path, operand, error ? 0 : bytes, true});
        }
    }
    constexpr std::uintmax_t step = 1024;
    std::uintmax_t total = 0;
    for (const FleetFile& file : files) {
        total += file.bytes;
    }
    Progress progress("Reading, KB", static_cast<std::size_t>(total / step));
    std::uintmax_t done = 0;
    for (const FleetFile& file : files) {
        if (!file.path.empty()) {
            takeFile(file, sink, [&progress, at = done](std::size_t bytes) mutable {
                progress.reach(static_cast<std::size_t>((at += bytes) / step));
            });
        } else if (file.name == "-") {
            takeStandardInput(sink);
        } else {
            sink.take(request.machineFile.value_or(file.name), fleetMachineOf(readTopology(request)));
        }
        done += file.bytes;
        progress.reach(static_cast<std::size_t>(done / step));
    }
}

} // namespace quarrow
