#include <libQuarrow/os/recorded/MachineRecorder.h>
#include <libQuarrow/recording/formats/RecordingWriter.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Output.h>
#include <tools/quarrow/commands/Commands.h>

#include <sstream>

namespace quarrow {

namespace os = libQuarrow::os;

namespace {

os::Recording recordMachine(const Request& request) {
    os::RecordingError error;
    boost::optional<os::Recording> recording = os::recordCurrentMachine(error, request.threadAffinity);
    if (!recording) {
        throw Failure(Failure::CannotAnswer, error.message);
    }
    return std::move(*recording);
}

} // namespace

std::string recordCommand(const Request& request) {
    if (request.json) {
        throw Failure(Failure::WrongInput, "record writes a recording, not JSON; leave out --json");
    }
    const auto format = request.options.find("format");
    const std::string name = format == request.options.end() ? "quarrow" : format->second;
    if (name != "quarrow" && name != "cpuid-r") {
        throw Failure(Failure::WrongInput, "--format takes quarrow or cpuid-r, not '" + name + "'");
    }
    std::ostringstream text;
    (name == "quarrow" ? os::writeRecording : os::writeCpuidRaw)(recordMachine(request), text);
    if (request.operands.empty() || request.operands.front() == "-") {
        return text.str();
    }
    writeFile(request.operands.front(), text.str());
    return {};
}

} // namespace quarrow
