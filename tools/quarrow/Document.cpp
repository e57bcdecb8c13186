#include <tools/quarrow/Document.h>

namespace quarrow {

std::optional<std::string> machineName(const Request& request) {
    return request.machineFile ? std::make_optional(*request.machineFile) : std::nullopt;
}

nlohmann::ordered_json emptyDocument(const Request& request) {
    return libQuarrow::document::emptyDocument(machineName(request));
}

} // namespace quarrow
