#pragma once

#include <nlohmann/json.hpp>

#include <string>

// Runs the built tool as people do, in a process of its own.

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

// `arguments` as on a shell's command line. Standard input is the file `input`, or empty.
ToolRun runTool(const std::string& arguments, const std::string& input = {});
// Standard output parsed; a null value, and a failed test, unless the tool succeeded and wrote JSON.
nlohmann::json runToolForJson(const std::string& arguments);

// The path of one of the project's own machines.
std::string machine(const std::string& name);
// A path in a folder of this test run, which is empty at first.
std::string scratch(const std::string& name);
std::string quoted(const std::string& path);
std::string contentOf(const std::string& path);
void writeContent(const std::string& path, const std::string& content);
