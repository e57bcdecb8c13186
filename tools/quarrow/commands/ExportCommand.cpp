#include <tools/quarrow/Failure.h>
#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/document/MachineDocument.h>
#include <tools/quarrow/export/Exports.h>
#include <tools/quarrow/os/HostName.h>

#include <nlohmann/json.hpp>

#include <filesystem>

namespace quarrow {
namespace {

// What the machine is called among others: as --name says; else a recording by its file, this machine by its host name.
std::string nameOfMachine(const Request& request) {
    const auto name = request.options.find("name");
    if (name != request.options.end()) {
        return name->second;
    }
    return request.machineFile ? *request.machineFile : hostName();
}

// A node has a name without folders and endings.
std::string nodeName(const Request& request) {
    const std::string name = nameOfMachine(request);
    return request.isRecorded() && request.options.count("name") == 0 ? std::filesystem::u8path(name).stem().u8string()
                                                                      : name;
}

// The document in one line.
std::string jsonLine(const Request& request) {
    Request whole = request;
    whole.operands.clear();
    nlohmann::ordered_json document = nlohmann::ordered_json::parse(machineDocument(whole));
    const std::string name = nameOfMachine(request);
    if (!name.empty()) {
        document["machine"] = name;
    }
    return document.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace

std::string exportCommand(const Request& request) {
    if (request.json) {
        throw Failure(Failure::WrongInput, "export writes the form that it is asked for; leave out --json");
    }
    const std::string& format = request.operands.front();
    if (format != "jsonl" && format != "slurm" && request.options.count("name") != 0) {
        throw Failure(Failure::WrongInput, "--name applies to jsonl and slurm only; leave it out");
    }
    if (format == "jsonl") {
        return jsonLine(request);
    }
    if (format == "hwloc-xml") {
        return hwlocXml(readTopology(request));
    }
    if (format == "prometheus") {
        return prometheusText(readTopology(request));
    }
    if (format == "nfd") {
        return nodeFeatures(readTopology(request));
    }
    if (format == "slurm") {
        return slurmNode(readTopology(request), nodeName(request));
    }
    throw Failure(Failure::WrongInput,
                  "'" + format + "' is no format; name hwloc-xml, jsonl, nfd, prometheus or slurm");
}

} // namespace quarrow
