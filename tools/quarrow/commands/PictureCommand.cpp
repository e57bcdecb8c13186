#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>
#include <tools/quarrow/Output.h>
#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/classic/ClassicPicture.h>
#include <tools/quarrow/classic/Processors.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/os/Console.h>
#include <tools/quarrow/picture/TopologyPicture.h>

namespace quarrow {
namespace {

constexpr std::uint64_t narrowest = 40;
constexpr std::uint64_t widest = 1000;

std::uint64_t columnsFor(const Request& request) {
    if (const auto width = numberOption(request, "width", narrowest, widest)) {
        return *width;
    }
    return outputColumns();
}

// One visit of each processor, whoever answers.
std::vector<PictureBox> picture(const Request& request) {
    if (!request.classic) {
        return pictureOf(readTopology(request));
    }
    libQuarrow::cpu::x86_cache_sharing sharing;
    const Machine machine = readMachine(request, [&](const libQuarrow::cpu::x86_cpu& cpu) { sharing.read(cpu); });
    return classicPictureOf(machine.tree, sharing);
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
    const std::vector<PictureBox> packages = picture(request);
    if (svg == request.options.end()) {
        return drawText(packages, columns, outputIsUtf8() ? boxLines : asciiLines);
    }
    if (svg->second == "-") {
        return drawSvg(packages);
    }
    writeFile(svg->second, drawSvg(packages));
    return {};
}

} // namespace quarrow
