// Taking a machine, and handing it out whole.

#include <libQuarrow/c/Handles.h>

#include <libQuarrow/document/MachineDocument.h>
#include <libQuarrow/document/WholeFile.h>
#include <libQuarrow/os/recorded/MachineRecorder.h>
#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/recording/formats/RecordingParser.h>
#include <libQuarrow/recording/formats/RecordingWriter.h>

#include <memory>
#include <sstream>

using namespace libQuarrow;
using namespace libQuarrow::c;

std::shared_mutex& c::currentMachineMutex() {
    static std::shared_mutex mutex;
    return mutex;
}

namespace {

topology::TopologyRequest requestOf(std::uint32_t take) {
    constexpr std::uint32_t known = QUARROW_MOVE_PROCESS | QUARROW_WITH_SPEEDS | QUARROW_WITH_LIMITS |
                                    QUARROW_WITH_MICROCODE | QUARROW_WITH_LEAVES | QUARROW_UNMEASURED;
    if ((take & ~known) != 0) {
        throw Failure(QUARROW_ERROR_ARGUMENT, "there is no such way to take a machine; see enum quarrow_take");
    }
    topology::TopologyRequest request;
    request.useThreadAffinity = (take & QUARROW_MOVE_PROCESS) == 0;
    request.speeds = (take & QUARROW_WITH_SPEEDS) != 0;
    request.limits = (take & QUARROW_WITH_LIMITS) != 0;
    request.microcode = (take & QUARROW_WITH_MICROCODE) != 0;
    request.leaves = (take & QUARROW_WITH_LEAVES) != 0;
    request.measure = (take & QUARROW_UNMEASURED) == 0;
    return request;
}

// The current machine.
std::unique_ptr<quarrow_machine> takeMachine(const topology::TopologyRequest& request) {
    std::optional<topology::Topology> topology = topology::Topology::read(request);
    if (!topology) {
        throw Failure(QUARROW_ERROR_MACHINE,
                      "no logical processor could be read: the operating system does not tell which there are");
    }
    if (topology->processors().empty()) {
        const auto& leftOut = topology->leftOut();
        throw Failure(QUARROW_ERROR_MACHINE, "no logical processor could be read: " +
                                                 (leftOut.empty() ? "there is none" : leftOut.front().reason));
    }
    return std::make_unique<quarrow_machine>(std::move(*topology));
}

quarrow_machine* takeRecorded(boost::optional<os::Recording> recording, const os::RecordingError& error,
                              const char* name, const topology::TopologyRequest& request) {
    if (!recording) {
        throw Failure(QUARROW_ERROR_INPUT, error.message);
    }
    auto recorded = std::make_unique<os::RecordedMachine>(std::move(*recording));
    const std::unique_lock<std::shared_mutex> lock(currentMachineMutex());
    const os::ScopedMachine inItsPlace(*recorded);
    std::unique_ptr<quarrow_machine> machine = takeMachine(request);
    machine->file = name;
    machine->recorded = std::move(recorded);
    return machine.release();
}

std::string recordingOf(const quarrow_machine& machine) {
    std::ostringstream text;
    if (machine.recorded) {
        os::writeRecording(machine.recorded->recording(), text);
        return text.str();
    }
    const std::unique_lock<std::shared_mutex> lock(currentMachineMutex());
    os::RecordingError error;
    const boost::optional<os::Recording> recording = os::recordCurrentMachine(error);
    if (!recording) {
        throw Failure(QUARROW_ERROR_MACHINE, error.message);
    }
    os::writeRecording(*recording, text);
    return text.str();
}

} // namespace

quarrow_machine* quarrow_machine_native(uint32_t take) {
    return quarrow_machine_native_of(take, nullptr);
}

quarrow_machine* quarrow_machine_native_of(uint32_t take, const quarrow_set* whose) {
    return answer<quarrow_machine*>(nullptr, [&] {
        topology::TopologyRequest request = requestOf(take);
        if (whose != nullptr) {
            request.whose = whose->processors;
        }
        const std::shared_lock<std::shared_mutex> lock(currentMachineMutex());
        return takeMachine(request).release();
    });
}

quarrow_machine* quarrow_machine_load(const char* path, uint32_t take) {
    return answer<quarrow_machine*>(nullptr, [&] {
        const topology::TopologyRequest request = requestOf(take);
        os::RecordingError error;
        auto recording = os::readRecording(&given(path, "path"), error);
        return takeRecorded(std::move(recording), error, path, request);
    });
}

quarrow_machine* quarrow_machine_parse(const void* bytes, size_t size, const char* name, uint32_t take) {
    return answer<quarrow_machine*>(nullptr, [&] {
        const topology::TopologyRequest request = requestOf(take);
        const char* const text = &given(static_cast<const char*>(bytes), "text of the recording");
        const char* const called = name != nullptr ? name : "memory";
        if (size > os::maxRecordingBytes) {
            throw Failure(QUARROW_ERROR_INPUT, std::string(called) + ": it is larger than a recording may be");
        }
        os::RecordingError error;
        auto recording = os::parseRecording(std::string(text, size), called, error);
        return takeRecorded(std::move(recording), error, called, request);
    });
}

void quarrow_machine_free(quarrow_machine* machine) {
    delete machine;
}

int quarrow_machine_is_recorded(const quarrow_machine* machine) {
    return answer(0, [&] { return given(machine, "machine").file ? 1 : 0; });
}

char* quarrow_machine_json(const quarrow_machine* machine) {
    return answer<char*>(nullptr, [&] {
        return ownedText(document::documentText(document::machineDocument(topologyOf(machine), machine->file)));
    });
}

char* quarrow_machine_record(const quarrow_machine* machine) {
    return answer<char*>(nullptr, [&] { return ownedText(recordingOf(given(machine, "machine"))); });
}

int quarrow_machine_record_to(const quarrow_machine* machine, const char* path) {
    return attempt([&] {
        const std::string text = recordingOf(given(machine, "machine"));
        try {
            document::writeWholeFile(&given(path, "path"), text);
        } catch (const document::FileError& error) {
            throw Failure(QUARROW_ERROR_INPUT, error.what());
        }
    });
}
