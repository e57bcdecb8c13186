#include <tools/quarrow/picture/PictureLayout.h>

#include <tools/quarrow/Text.h>

namespace quarrow {
namespace {

using TextRows = std::vector<std::u16string>;

void write(TextRows& rows, std::size_t x, std::size_t y, const std::u16string& text) {
    rows[y].replace(x, text.size(), text);
}

void drawFrame(TextRows& rows, const Shape& box, const Lines& lines) {
    const std::u16string title = box.text.isEmpty() ? std::u16string() : u' ' + box.text.units() + u' ';
    const std::size_t right = box.x + box.width - 1;
    const std::size_t bottom = box.y + box.height - 1;
    write(rows, box.x, box.y,
          lines.topLeft + title + std::u16string(box.width - 2 - title.size(), lines.horizontal) + lines.topRight);
    for (std::size_t y = box.y + 1; y < bottom; ++y) {
        write(rows, box.x, y, {lines.vertical});
        write(rows, right, y, {lines.vertical});
    }
    write(rows, box.x, bottom, lines.bottomLeft + std::u16string(box.width - 2, lines.horizontal) + lines.bottomRight);
}

// "──── L3 32 MB ────" where there is room for that.
std::u16string bar(const Shape& cache, const Lines& lines) {
    constexpr std::size_t shortest = 2;
    const std::u16string text = u' ' + cache.text.units() + u' ';
    if (text.size() + 2 * shortest > cache.width) {
        return cache.text.units();
    }
    const std::size_t before = (cache.width - text.size()) / 2;
    return std::u16string(before, lines.horizontal) + text +
           std::u16string(cache.width - text.size() - before, lines.horizontal);
}

} // namespace

std::string drawText(const std::vector<PictureBox>& packages, std::size_t columns, const Lines& lines) {
    const Drawing drawing = layOut(packages, {columns, 1, 1, 1, 1, 0, 2, 1, 1, 0, true});
    TextRows rows(drawing.height, std::u16string(drawing.width, u' '));
    for (const Shape& shape : drawing.shapes) {
        switch (shape.kind) {
        case Shape::PackageBox:
        case Shape::GroupBox:
        case Shape::CoreBox:
            drawFrame(rows, shape, lines);
            break;
        case Shape::CacheBar:
            write(rows, shape.x, shape.y, bar(shape, lines));
            break;
        default:
            write(rows, shape.x, shape.y, shape.text.units());
        }
    }
    std::u16string text;
    for (const std::u16string& row : rows) {
        text += row.substr(0, row.find_last_not_of(u' ') + 1) + u"\n";
    }
    return printable(zel::String(std::move(text)));
}

} // namespace quarrow
