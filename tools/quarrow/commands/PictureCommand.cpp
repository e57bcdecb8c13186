#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>
#include <tools/quarrow/Output.h>
#include <tools/quarrow/TopologyReading.h>
#include <tools/quarrow/Words.h>
#include <tools/quarrow/classic/ClassicPicture.h>
#include <tools/quarrow/classic/Processors.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/os/Console.h>
#include <tools/quarrow/page/MachinePage.h>
#include <tools/quarrow/picture/TopologyPicture.h>

namespace quarrow {
namespace {

constexpr std::uint64_t narrowestPicture = 40;
constexpr std::uint64_t widestPicture = 1000;

std::uint64_t columnsFor(const Request& request) {
    if (const auto width = numberOption(request, "width", narrowestPicture, widestPicture)) {
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

std::string page(const Request& request) {
    libQuarrow::topology::TopologyRequest asked;
    asked.leaves = true;
    return machinePage(readTopology(request, asked), request.machineFile.value_or(""));
}

} // namespace

std::string pictureCommand(const Request& request) {
    if (request.json) {
        throw Failure(Failure::WrongInput, "picture draws for people and has no JSON form; leave out --json");
    }
    const auto svg = request.options.find("svg");
    const auto html = request.options.find("html");
    const auto none = request.options.end();
    if (svg != none && html != none) {
        throw Failure(Failure::WrongInput, "--svg and --html are two pictures; leave out one of them");
    }
    if ((svg != none || html != none) && request.options.count("width") != 0) {
        throw Failure(Failure::WrongInput,
                      "--width applies to the drawing in text only; leave out --width, --svg and --html");
    }
    if (html != none && request.classic) {
        throw Failure(Failure::WrongInput, "the page of --html has no classic form; leave out --classic");
    }
    const std::uint64_t columns = columnsFor(request);
    if (svg == none && html == none) {
        return drawText(picture(request), columns, outputIsUtf8() ? boxLines : asciiLines);
    }
    std::string drawn = svg != none ? drawSvg(picture(request)) : page(request);
    const std::string& path = svg != none ? svg->second : html->second;
    if (path == "-") {
        return drawn;
    }
    writeFile(path, drawn);
    return {};
}

} // namespace quarrow
