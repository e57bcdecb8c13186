#include <tools/quarrow/picture/PictureLayout.h>

#include <tools/quarrow/Text.h>

#include <algorithm>

namespace quarrow {
namespace {

constexpr const char* legend = "Blue: logical processors";
constexpr const char* legendOfKinds =
    "Blue: logical processors. Cores: violet performance (P), green efficient (E), yellow low power (LP)";

// In pixels. The widths of letters are guesses, wide enough for the usual sans-serif fonts of this size.
constexpr Measures measures = {1040, 7, 8, 18, 22, 8, 8, 8, 8, 6, false};
constexpr std::size_t margin = 8;
constexpr std::size_t baseline = 5; // of a text, below its middle

// name="value"
std::string attribute(const char* name, std::size_t value) {
    return std::string(" ") + name + "=\"" + std::to_string(value) + "\"";
}

std::string textAt(const char* kind, std::size_t x, const Shape& shape) {
    return std::string("<text class=\"") + kind + "\"" + attribute("x", margin + x) +
           attribute("y", margin + shape.y + shape.height / 2 + baseline) + ">" + markup(shape.text) + "</text>\n";
}

std::string rectangle(const std::string& kind, const Shape& shape) {
    return "<rect class=\"" + kind + "\"" + attribute("x", margin + shape.x) + attribute("y", margin + shape.y) +
           attribute("width", shape.width) + attribute("height", shape.height) + " rx=\"4\"/>\n";
}

std::string labelled(const std::string& kind, const Shape& shape) {
    return rectangle(kind, shape) + textAt("middle", shape.x + shape.width / 2, shape);
}

// The kinds of core have fills of their own.
std::string coreClass(const Shape& shape) {
    using libQuarrow::topology::CoreKind;
    if (!shape.coreKind) {
        return "core";
    }
    return *shape.coreKind == CoreKind::performance ? "performance"
           : *shape.coreKind == CoreKind::efficient ? "efficient"
                                                    : "low-power";
}

std::string draw(const Shape& shape) {
    switch (shape.kind) {
    case Shape::PackageBox:
        return rectangle("package", shape);
    case Shape::GroupBox:
        return rectangle("group", shape);
    case Shape::CoreBox:
        return rectangle(coreClass(shape), shape);
    case Shape::ThreadBox:
        return labelled("thread", shape);
    case Shape::CacheBar:
        return labelled("l" + std::to_string(std::min(shape.level, 4u)), shape);
    case Shape::Title:
        return textAt("title", shape.x, shape);
    default:
        return textAt("text", shape.x, shape);
    }
}

// Each rule is for what is inside a drawing: a page may hold several, and rules of its own.
constexpr const char* style = "<style>\n"
                              "svg rect { stroke: #46505a; stroke-width: 1 }\n"
                              "svg text { font-family: sans-serif; font-size: 12px; fill: #1c2228 }\n"
                              "svg .page { fill: #ffffff; stroke: none }\n"
                              "svg .title { font-weight: bold }\n"
                              "svg .middle { text-anchor: middle }\n"
                              "svg .package { fill: #eef1f4 }\n"
                              "svg .group { fill: #dde3ea }\n"
                              "svg .core { fill: #ffffff }\n"
                              "svg .performance { fill: #f3ecfb }\n"
                              "svg .efficient { fill: #e4f3e2 }\n"
                              "svg .low-power { fill: #f6f4d8 }\n"
                              "svg .thread { fill: #cfe3f7 }\n"
                              "svg .l1 { fill: #fdf0cf }\n"
                              "svg .l2 { fill: #fbdcae }\n"
                              "svg .l3 { fill: #f2c3a7 }\n"
                              "svg .l4 { fill: #e3b5c0 }\n"
                              "</style>\n";

} // namespace

std::string drawSvgElement(const std::vector<PictureBox>& packages) {
    Drawing drawing = layOut(packages, measures);
    const bool kinds = std::any_of(drawing.shapes.begin(), drawing.shapes.end(),
                                   [](const Shape& shape) { return shape.coreKind.has_value(); });
    const zel::String explanation = kinds ? legendOfKinds : legend;
    drawing.shapes.push_back({Shape::Text, 0, drawing.height, 0, 2 * measures.line, explanation});
    drawing.width = std::max(drawing.width, explanation.size() * measures.letter);
    drawing.height += measures.line;
    const std::size_t width = drawing.width + 2 * margin;
    const std::size_t height = drawing.height + 2 * margin;
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\"" + attribute("width", width) +
                      attribute("height", height) + " viewBox=\"0 0 " + std::to_string(width) + " " +
                      std::to_string(height) + "\">\n" + "<title>Processors, cores, threads and caches</title>\n" +
                      style + "<rect class=\"page\" width=\"100%\" height=\"100%\"/>\n";
    for (const Shape& shape : drawing.shapes) {
        svg += draw(shape);
    }
    return svg + "</svg>\n";
}

std::string drawSvg(const std::vector<PictureBox>& packages) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + drawSvgElement(packages);
}

} // namespace quarrow
