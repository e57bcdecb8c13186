#include <tools/quarrow/picture/PictureLayout.h>

#include <tools/quarrow/Text.h>

#include <algorithm>

namespace quarrow {
namespace {

constexpr std::size_t mostThreadsBeside = 4;
// Boxes of groups stand in two columns where there are several and each column has room for this many letters.
constexpr std::size_t severalGroups = 4;
constexpr std::size_t lettersOfColumn = 50;

void place(Drawing& drawing, std::size_t x, std::size_t y, const Drawing& part) {
    for (Shape shape : part.shapes) {
        shape.x += x;
        shape.y += y;
        drawing.shapes.push_back(std::move(shape));
    }
    drawing.width = std::max(drawing.width, x + part.width);
    drawing.height = std::max(drawing.height, y + part.height);
}

Drawing drawingOf(Shape::Kind kind, std::size_t width, std::size_t height, const zel::String& text,
                  unsigned int level = 0) {
    return {width, height, {{kind, 0, 0, width, height, text, level}}};
}

std::size_t longest(const std::vector<zel::String>& texts) {
    std::size_t length = 2; // as in most machines
    for (const zel::String& text : texts) {
        length = std::max(length, text.size());
    }
    return length;
}

zel::String joined(const std::vector<zel::String>& texts) {
    zel::String all;
    for (const zel::String& text : texts) {
        all += (all.isEmpty() ? "" : " ") + text;
    }
    return all;
}

class Layout {
  public:
    explicit Layout(const Measures& measures) : m(measures) {}

    // All as wide as the widest, which is at most `widest`.
    Drawing boxes(const PictureBox* first, std::size_t count, Shape::Kind kind, std::size_t available,
                  std::size_t widest) const {
        std::vector<Drawing> drawings;
        std::size_t width = 0;
        for (int round = 0; round < 2; ++round) {
            drawings.clear();
            for (std::size_t i = 0; i < count; ++i) {
                drawings.push_back(box(first[i], kind, widest, width));
            }
            for (const Drawing& drawing : drawings) {
                width = std::max(width, drawing.width);
            }
        }
        return flowed(drawings, available);
    }

  private:
    // Drawings of the same width side by side as far as there is room, then in the next row; about as many in each.
    Drawing flowed(const std::vector<Drawing>& drawings, std::size_t available) const {
        const std::size_t step = drawings.front().width + m.gapX;
        const std::size_t most = std::max<std::size_t>((available + m.gapX) / step, 1);
        const std::size_t rows = (drawings.size() + most - 1) / most;
        const std::size_t beside = (drawings.size() + rows - 1) / rows;
        Drawing all;
        std::size_t y = 0;
        for (std::size_t i = 0; i < drawings.size(); ++i) {
            if (i != 0 && i % beside == 0) {
                y = all.height + m.gapY;
            }
            place(all, i % beside * step, y, drawings[i]);
        }
        return all;
    }

    void append(Drawing& column, const Drawing& part) const {
        if (!part.shapes.empty()) {
            place(column, 0, column.height + (column.height == 0 ? 0 : m.gapY), part);
        }
    }

    void appendText(Drawing& column, Shape::Kind kind, const zel::String& text, std::size_t available) const {
        const std::size_t letter = kind == Shape::Title ? m.titleLetter : m.letter;
        Drawing lines;
        for (const zel::String& line : wrapped(text, available / letter)) {
            place(lines, 0, lines.height, drawingOf(kind, line.size() * letter, m.line, line));
        }
        append(column, lines);
    }

    std::size_t barWidth(std::size_t letters) const { return letters * m.letter + m.barPadding; }

    // From side to side of the column; as text where it has no room for that.
    void appendCaches(Drawing& column, const std::vector<PictureCache>& caches, std::size_t available) const {
        for (const PictureCache& cache : caches) {
            if (barWidth(cache.text.size()) <= available) {
                append(column, drawingOf(Shape::CacheBar, column.width, m.bar, cache.text, cache.level));
            } else {
                appendText(column, Shape::Text, cache.text, available);
            }
        }
    }

    // Side by side, from side to side of the column; tersely as text.
    void appendThreads(Drawing& column, const std::vector<zel::String>& threads, std::size_t available) const {
        if (m.terse) {
            const char* before = threads.size() == 1 ? "CPU " : "CPUs ";
            appendText(column, Shape::Text, before + joined(threads), available);
            return;
        }
        const std::size_t beside = std::min(threads.size(), mostThreadsBeside);
        const std::size_t share = (column.width + m.gapX) / beside;
        const std::size_t width = std::max(barWidth(longest(threads)), share - std::min(share, m.gapX));
        std::vector<Drawing> drawings;
        drawings.reserve(threads.size());
        for (const zel::String& thread : threads) {
            drawings.push_back(drawingOf(Shape::ThreadBox, width, m.bar, thread));
        }
        append(column, flowed(drawings, beside * (width + m.gapX)));
    }

    void appendInside(Drawing& column, const std::vector<PictureBox>& inside, std::size_t available) const {
        for (std::size_t begin = 0; begin < inside.size();) {
            const bool cores = inside[begin].isCore();
            std::size_t end = begin;
            while (end < inside.size() && inside[end].isCore() == cores) {
                ++end;
            }
            const std::size_t half = (available - m.gapX) / 2;
            const bool twoColumns = !cores && end - begin >= severalGroups && half >= lettersOfColumn * m.letter;
            append(column, boxes(&inside[begin], end - begin, cores ? Shape::CoreBox : Shape::GroupBox, available,
                                 twoColumns ? half : available));
            begin = end;
        }
    }

    // "[ 8 136]"
    Drawing bracketed(const zel::String& threads, std::size_t atLeast) const {
        const std::size_t width = std::max(atLeast, threads.size() + 2);
        return drawingOf(Shape::Text, width, m.line,
                         "[" + zel::String::repeat(" ", width - 2 - threads.size()) + threads + "]");
    }

    Drawing box(const PictureBox& what, Shape::Kind kind, std::size_t available, std::size_t atLeast) const {
        const std::size_t inside = available - 2 * m.frameX;
        if (m.terse && what.isCore() && what.title.isEmpty() && joined(what.threads).size() <= inside) {
            return bracketed(joined(what.threads), atLeast);
        }
        const bool titleInFrame = m.terse && what.title.size() <= inside;
        Drawing column;
        column.width = std::max(atLeast, 2 * m.frameX) - 2 * m.frameX;
        if (titleInFrame) {
            column.width = std::max(column.width, what.title.size());
        } else {
            appendText(column, Shape::Title, what.title, inside);
        }
        appendText(column, Shape::Text, what.note, inside);
        for (const PictureCache& cache : what.caches) {
            column.width = std::max(column.width, std::min(barWidth(cache.text.size()), inside));
        }
        if (what.isCore()) {
            appendThreads(column, what.threads, inside);
        }
        appendInside(column, what.inside, inside);
        appendCaches(column, what.caches, inside);
        Drawing framed = drawingOf(kind, column.width + 2 * m.frameX, column.height + 2 * m.frameY,
                                   titleInFrame ? what.title : zel::String());
        framed.shapes.front().coreKind = what.kind;
        place(framed, m.frameX, m.frameY, column);
        return framed;
    }

    const Measures& m;
};

} // namespace

Drawing layOut(const std::vector<PictureBox>& packages, const Measures& measures) {
    return Layout(measures).boxes(packages.data(), packages.size(), Shape::PackageBox, measures.page, measures.page);
}

} // namespace quarrow
