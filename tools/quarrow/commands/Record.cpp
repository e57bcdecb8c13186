#include <libQuarrow/os/recorded/MachineRecorder.h>
#include <libQuarrow/recording/formats/RecordingWriter.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Output.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/commands/MsrAccessor.h>
#include <tools/quarrow/commands/MsrNotes.h>

#include <libQuarrow/os/recorded/RecordedMachine.h>

#include <sstream>

namespace quarrow {

namespace os = libQuarrow::os;

namespace {

// The rate of the time-stamp counter, and the MSRs behind what the commands tell, where they can be read.
void addRateAndMsrs(const Request& request, os::Recording& recording) {
    zel::Array<libQuarrow::cpu::x86_cpu> processors;
    if (!libQuarrow::cpu::x86_cpu::findLogicalCpus(processors, request.threadAffinity) || processors.isEmpty()) {
        return; // what they say is in the recording all the same
    }
    std::uint64_t hertz = 0;
    if (processors[0].calculateSpeedTSC(hertz)) {
        recording.tscHertz = hertz;
    }
    if (whyNoMsrs(processors[0]).empty()) {
        const MsrNotes notes(recording);
        for (const auto command : {cpusCommand, limitsCommand, speedCommand}) {
            command(request);
        }
    }
}

os::Recording recordMachine(const Request& request) {
    // Of a recorded machine all that was read, memory, ports and registers that nothing asks for too.
    if (const auto* recorded = dynamic_cast<const os::RecordedMachine*>(&os::currentMachine())) {
        return recorded->recording();
    }
    os::RecordingError error;
    boost::optional<os::Recording> recording = os::recordCurrentMachine(error);
    if (!recording) {
        throw Failure(Failure::CannotAnswer, error.message);
    }
    Request everything = request;
    everything.operands.clear();
    addRateAndMsrs(everything, *recording);
    return std::move(*recording);
}

} // namespace

std::string recordCommand(const Request& request) {
    if (request.json) {
        throw Failure(Failure::WrongInput, "record writes a recording, which is no JSON; leave --json out");
    }
    std::ostringstream text;
    os::writeRecording(recordMachine(request), text);
    if (request.operands.empty() || request.operands.front() == "-") {
        return text.str();
    }
    writeFile(request.operands.front(), text.str());
    return {};
}

} // namespace quarrow
