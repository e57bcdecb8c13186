#include <tools/quarrow/Commands.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Output.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <sstream>

namespace quarrow {

namespace os = libQuarrow::os;

std::string recordCommand(const Request& request) {
    if (request.json) {
        throw Failure(Failure::WrongInput, "record writes a recording, which is no JSON; leave --json out");
    }
    os::RecordingError error;
    const boost::optional<os::Recording> recording = os::recordCurrentMachine(error);
    if (!recording) {
        throw Failure(Failure::CannotAnswer, error.message);
    }
    std::ostringstream text;
    os::writeRecording(*recording, text);
    if (request.operands.empty()) {
        return text.str();
    }
    writeFile(request.operands.front(), text.str());
    return {};
}

} // namespace quarrow
