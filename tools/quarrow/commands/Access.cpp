#include <tools/quarrow/commands/Access.h>

#include <tools/quarrow/Document.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>

#include <cstdio>

namespace quarrow {
namespace {

void write(const Request& request, const Place& place, std::uint64_t value) {
    if (!place.isWritable) {
        throw Failure(Failure::CannotAnswer, place.name + " cannot be written: its device could be opened for reading "
                                                          "only; writing needs write permission on the device");
    }
    // Before it is done: a machine may not live to tell afterwards.
    std::fprintf(stderr, "quarrow: writing %s to %s%s\n", hexadecimal(value, place.bytes).c_str(), place.name.c_str(),
                 request.isRecorded() ? ", for this run only: the recording stays as it is" : "");
    std::fflush(stderr);
    if (!place.write(value)) {
        failRefused(request, place.name + " cannot be written");
    }
}

} // namespace

boost::optional<std::uint64_t> valueToWrite(const Request& request, std::uint64_t bytes) {
    const auto value = numberOption(request, "write", 0, UINT64_MAX >> (64 - 8 * bytes));
    if (value && request.json) {
        throw Failure(Failure::WrongInput,
                      "--write prints no answer, so there is none as JSON either; leave out --json or --write");
    }
    return value;
}

std::string access(const Request& request, const Place& place, const boost::optional<std::uint64_t>& toWrite) {
    if (toWrite) {
        write(request, place, *toWrite);
        return {};
    }
    std::uint64_t value = 0;
    if (!place.read(value)) {
        failRefused(request, place.name + " cannot be read");
    }
    if (!request.json) {
        return place.name + ": " + hexadecimal(value, place.bytes) + "\n";
    }
    nlohmann::ordered_json document = emptyDocument(request);
    document[place.key] = place.identity;
    document[place.key]["value"] = value;
    return documentText(document);
}

void failRefused(const Request& request, const std::string& access) {
    throw Failure(Failure::CannotAnswer,
                  access + (request.isRecorded()
                                ? ": the recording does not hold it; docs/recordings.md tells how to add it"
                                : ": it does not exist, or the driver does not allow it"));
}

} // namespace quarrow
