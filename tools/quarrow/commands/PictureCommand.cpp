#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>
#include <tools/quarrow/Output.h>
#include <tools/quarrow/Processors.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/os/Console.h>
#include <tools/quarrow/picture/Picture.h>

#include <algorithm>
#include <cstdlib>

namespace quarrow {
namespace {

constexpr std::uint64_t narrowest = 40;
constexpr std::uint64_t widest = 1000;

std::uint64_t environmentColumns() {
    const char* text = std::getenv("COLUMNS");
    std::uint64_t columns = 0;
    return text != nullptr && zel::String(text).toUint64(columns) == zel::String::PARSE_OK ? columns : 0;
}

std::uint64_t columnsFor(const Request& request) {
    if (const auto width = numberOption(request, "width", narrowest, widest)) {
        return *width;
    }
    std::uint64_t columns = terminalWidth();
    columns = columns != 0 ? columns : environmentColumns();
    return columns != 0 ? std::clamp(columns, narrowest, widest) : 80;
}

} // namespace

std::string pictureCommand(const Request& request) {
    if (request.json) {
        throw Failure(Failure::WrongInput, "picture draws for people and has no JSON form; leave out --json");
    }
    const auto svg = request.options.find("svg");
    if (svg != request.options.end() && request.options.count("width") != 0) {
        throw Failure(Failure::WrongInput, "--width applies to the drawing in text only; leave out --width or --svg");
    }
    const std::uint64_t columns = columnsFor(request);
    libQuarrow::cpu::x86_cache_sharing sharing;
    const Machine machine = readMachine(request, [&](const libQuarrow::cpu::x86_cpu& cpu) { sharing.read(cpu); });
    const auto packages = pictureOf(machine.tree, sharing);
    if (svg == request.options.end()) {
        return drawText(packages, columns);
    }
    if (svg->second == "-") {
        return drawSvg(packages);
    }
    writeFile(svg->second, drawSvg(packages));
    return {};
}

} // namespace quarrow
