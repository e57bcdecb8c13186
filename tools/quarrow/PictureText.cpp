#include <tools/quarrow/Picture.h>

#include <tools/quarrow/Text.h>

#include <algorithm>

namespace quarrow {
namespace {

// Every character drawn here takes one unit and one column.
using Row = std::u16string;
using Rows = std::vector<Row>;

constexpr std::size_t frameColumns = 4; // "| " and " |"

// A box whose width is not settled yet: boxes beside each other get the same.
struct OpenBox {
    Row title;
    Rows rows;
    std::vector<zel::String> bars; // caches that all inside share, drawn below it from side to side
    std::size_t width = 0;         // of the inside, at least

    void fit(std::size_t columns) { width = std::max(width, columns); }
    void append(const Rows& more) {
        for (const Row& row : more) {
            fit(row.size());
            rows.push_back(row);
        }
    }
};

Row repeated(char16_t unit, std::size_t times) {
    return Row(times, unit);
}

Row padded(const Row& row, std::size_t width) {
    return row + repeated(u' ', width - std::min(width, row.size()));
}

Rows rowsOf(const zel::String& text, std::size_t width) {
    Rows rows;
    for (const zel::String& line : wrapped(text, width)) {
        rows.push_back(line.units());
    }
    return rows;
}

Row top(const Row& title, std::size_t width) {
    const Row head = title.empty() ? Row() : u' ' + title + u' ';
    return u"┌" + head + repeated(u'─', width + 2 - head.size()) + u"┐";
}

Row bottom(std::size_t width) {
    return u"└" + repeated(u'─', width + 2) + u"┘";
}

Rows bar(const zel::String& text, std::size_t width) {
    const std::size_t inside = width - frameColumns;
    Rows rows{top({}, inside)};
    for (const Row& row : rowsOf(text, inside)) {
        rows.push_back(u"│ " + padded(repeated(u' ', (inside - row.size()) / 2) + row, inside) + u" │");
    }
    rows.push_back(bottom(inside));
    return rows;
}

Rows closed(const OpenBox& box, std::size_t width) {
    Rows inside = box.rows;
    for (const zel::String& text : box.bars) {
        const Rows rows = bar(text, width);
        inside.insert(inside.end(), rows.begin(), rows.end());
    }
    Rows rows{top(box.title, width)};
    for (const Row& row : inside) {
        rows.push_back(u"│ " + padded(row, width) + u" │");
    }
    rows.push_back(bottom(width));
    return rows;
}

// How many of `count` stand in a row that has room for `most`, so that the rows are about as full as one another.
std::size_t evenly(std::size_t count, std::size_t most) {
    most = std::max<std::size_t>(most, 1);
    const std::size_t rows = (count + most - 1) / most;
    return rows == 0 ? 1 : (count + rows - 1) / rows;
}

// Boxes of the same width, beside each other as far as there is room, then in the next row.
Rows flowed(const std::vector<OpenBox>& boxes, std::size_t available) {
    std::size_t width = 0;
    for (const OpenBox& box : boxes) {
        width = std::max(width, box.width);
    }
    const std::size_t perRow = evenly(boxes.size(), (available + 1) / (width + frameColumns + 1));
    Rows all;
    for (std::size_t first = 0; first < boxes.size(); first += perRow) {
        std::vector<Rows> beside;
        std::size_t height = 0;
        for (std::size_t i = first; i < std::min(first + perRow, boxes.size()); ++i) {
            beside.push_back(closed(boxes[i], width));
            height = std::max(height, beside.back().size());
        }
        for (std::size_t line = 0; line < height; ++line) {
            Row row;
            for (const Rows& box : beside) {
                row += (row.empty() ? u"" : u" ") + padded(line < box.size() ? box[line] : Row(), width + frameColumns);
            }
            all.push_back(row);
        }
    }
    return all;
}

// A table with the threads of a core in each cell; empty when a cell is wider than the room there is.
Rows table(const PictureRun& run, std::size_t available) {
    Rows cells;
    std::size_t width = 0;
    for (std::size_t i = 0; i < run.count; ++i) {
        Row cell;
        for (const zel::String& thread : run.first[i].threads) {
            cell += (cell.empty() ? u"" : u" ") + thread.units();
        }
        width = std::max(width, cell.size());
        cells.push_back(cell);
    }
    if (width + frameColumns > available) {
        return {};
    }
    const std::size_t perRow = evenly(cells.size(), (available - 1) / (width + 3));
    const auto border = [&](const Row& left, const Row& middle, const Row& right) {
        Row row = left;
        for (std::size_t i = 0; i < perRow; ++i) {
            row += (i == 0 ? Row() : middle) + repeated(u'─', width + 2);
        }
        return row + right;
    };
    Rows rows{border(u"┌", u"┬", u"┐")};
    for (std::size_t first = 0; first < cells.size(); first += perRow) {
        Row row;
        for (std::size_t i = first; i < first + perRow; ++i) {
            const Row cell = i < cells.size() ? cells[i] : Row();
            row += u"│ " + repeated(u' ', width - cell.size()) + cell + u" ";
        }
        rows.push_back(row + u"│");
    }
    rows.push_back(border(u"└", u"┴", u"┘"));
    return rows;
}

OpenBox openCore(const PictureBox& core, std::size_t available) {
    OpenBox box;
    const std::size_t inside = available - frameColumns;
    zel::String threads = core.threads.size() == 1 ? "CPU" : "CPUs";
    for (const zel::String& thread : core.threads) {
        threads += " " + thread;
    }
    box.append(rowsOf(threads, inside));
    for (const zel::String& cache : core.caches) {
        box.append(rowsOf(cache, inside));
    }
    return box;
}

OpenBox opened(const PictureBox& what, std::size_t available, bool manyCores) {
    const std::size_t inside = available - frameColumns;
    OpenBox box = what.isCore() ? openCore(what, available) : OpenBox();
    if (what.title.size() <= inside) {
        box.title = what.title.units();
        box.fit(what.title.size());
    } else {
        box.append(rowsOf(what.title, inside));
    }
    for (const PictureRun& run : runsOf(what.inside, manyCores)) {
        const Rows cells = run.table ? table(run, inside) : Rows();
        if (!cells.empty()) {
            box.append(rowsOf(runTitle(run), inside));
            box.append(cells);
            continue;
        }
        std::vector<OpenBox> boxes;
        for (std::size_t i = 0; i < run.count; ++i) {
            boxes.push_back(opened(run.first[i], inside, manyCores));
        }
        box.append(flowed(boxes, inside));
    }
    if (!what.isCore()) {
        box.bars = what.caches;
        for (const zel::String& cache : what.caches) {
            box.fit(std::min(inside, cache.size() + frameColumns));
        }
    }
    return box;
}

} // namespace

std::string drawText(const std::vector<PictureBox>& packages, std::size_t columns) {
    const bool manyCores = hasManyCores(packages);
    std::vector<OpenBox> boxes;
    for (const PictureBox& package : packages) {
        boxes.push_back(opened(package, columns, manyCores));
    }
    Row text;
    for (const Row& row : flowed(boxes, columns)) {
        text += row.substr(0, row.find_last_not_of(u' ') + 1) + u"\n";
    }
    return printable(zel::String(std::move(text)));
}

} // namespace quarrow
