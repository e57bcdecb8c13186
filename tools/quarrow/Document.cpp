#include <tools/quarrow/Document.h>

namespace quarrow {

using nlohmann::ordered_json;

ordered_json emptyDocument(const Request& request) {
    const std::string native = "native"; // this machine, which is no recording
    ordered_json document = {{"quarrow", QUARROW_VERSION}, {"machine", request.machineFile.value_or(native)}};
    if (request.machineFile == native) {
        document["recorded"] = true; // a file of that name
    }
    return document;
}

std::string documentText(const ordered_json& document) {
    return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

} // namespace quarrow
