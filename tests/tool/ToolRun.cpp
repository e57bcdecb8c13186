#include "ToolRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace fs = std::filesystem;

namespace {

class ScratchFolder {
  public:
    ScratchFolder() : m_path(fs::temp_directory_path() / ("quarrow-tool-" + std::to_string(std::random_device()()))) {
        fs::create_directories(m_path);
    }
    ~ScratchFolder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    const fs::path& path() const { return m_path; }

  private:
    fs::path m_path;
};

} // namespace

std::string quoted(const std::string& path) {
    return "\"" + path + "\"";
}

std::string machine(const std::string& name) {
    return QUARROW_SOURCE_DIR "/tests/machines/" + name;
}

std::string scratch(const std::string& name) {
    static const ScratchFolder folder;
    return (folder.path() / name).string();
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeContent(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

ToolRun runTool(const std::string& arguments, const std::string& input) {
    const std::string out = scratch("out.txt");
    const std::string err = scratch("err.txt");
    const std::string in = input.empty() ? scratch("empty.txt") : input;
    if (input.empty()) {
        writeContent(in, {});
    }
    fs::remove(out);
    fs::remove(err);
    // The command must not begin with a quotation mark: cmd.exe would take it and the last one away. A redirection in
    // `arguments` comes later and so wins.
    fs::current_path(QUARROW_TOOL_FOLDER);
    const std::string command =
        QUARROW_TOOL_COMMAND " <" + quoted(in) + " 2>" + quoted(err) + " >" + quoted(out) + " " + arguments;
    int result = std::system(command.c_str());
    // No shell was started, or it did not start the tool: Wine refuses now and then.
    if (result == -1 || result == 9009) {
        result = std::system(command.c_str());
    }
    ToolRun run;
    run.status = result % 256 == 0 ? result / 256 : result; // a POSIX system has the status in the second byte
    run.out = contentOf(out);
    run.err = contentOf(err);
    return run;
}

nlohmann::json runToolForJson(const std::string& arguments) {
    const ToolRun run = runTool(arguments);
    EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
    nlohmann::json document = nlohmann::json::parse(run.out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << arguments;
    return document;
}
