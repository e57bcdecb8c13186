#include <tools/quarrow/Access.h>

#include <tools/quarrow/Document.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>
#include <tools/quarrow/Output.h>

namespace quarrow {
namespace {

std::string write(const Request& request, Place& place, std::uint64_t value) {
    if (request.json) {
        throw Failure(Failure::WrongInput, "--json goes with reading; leave --json or --write out");
    }
    const char* const where = request.machine == "native" ? "" : ", in its replay; the recording stays as it is";
    // Before it is done: a machine may not live to tell afterwards.
    writeOutput("writing " + hexadecimal(value, place.bytes) + " to " + place.name + where + "\n");
    if (!place.write(value)) {
        throw Failure(Failure::CannotAnswer, place.name + " cannot be written: the access was refused");
    }
    return "written\n";
}

} // namespace

std::string access(const Request& request, Place& place) {
    if (const auto value = numberOption(request, "write", maximumOf(place.bytes))) {
        return write(request, place, *value);
    }
    std::uint64_t value = 0;
    if (!place.read(value)) {
        throw Failure(Failure::CannotAnswer, place.name + " cannot be read: the access was refused");
    }
    if (!request.json) {
        return place.name + ": " + hexadecimal(value, place.bytes) + "\n";
    }
    nlohmann::ordered_json document = emptyDocument(request);
    document[place.key] = place.identity;
    document[place.key]["value"] = value;
    return documentText(document);
}

} // namespace quarrow
