#include <tools/quarrow/Picture.h>

#include <tools/quarrow/Text.h>

#include <algorithm>

namespace quarrow {
namespace {

// All in pixels. The widths of letters are guesses, wide enough for the usual sans-serif fonts.
constexpr std::size_t letter = 7;
constexpr std::size_t boldLetter = 8;
constexpr std::size_t textHeight = 18;
constexpr std::size_t barHeight = 22;
constexpr std::size_t gap = 8;
constexpr std::size_t pageWidth = 1040;
constexpr std::size_t threadsBeside = 4;

// Something drawn, from 0, 0 on.
struct Drawing {
    std::size_t width = 0;
    std::size_t height = 0;
    std::string svg;
};

std::string number(std::size_t value) {
    return std::to_string(value);
}

std::string escaped(const zel::String& text) {
    std::string xml;
    for (const char c : oneLine(printable(text))) {
        switch (c) {
        case '&':
            xml += "&amp;";
            break;
        case '<':
            xml += "&lt;";
            break;
        case '>':
            xml += "&gt;";
            break;
        default:
            xml += c;
        }
    }
    return xml;
}

std::string rectangle(const char* kind, std::size_t x, std::size_t y, std::size_t width, std::size_t height) {
    return std::string("<rect class=\"") + kind + "\" x=\"" + number(x) + "\" y=\"" + number(y) + "\" width=\"" +
           number(width) + "\" height=\"" + number(height) + "\" rx=\"4\"/>\n";
}

std::string textAt(std::size_t x, std::size_t y, const char* kind, const zel::String& text) {
    return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\"" + kind + ">" + escaped(text) + "</text>\n";
}

std::string moved(std::size_t x, std::size_t y, const std::string& svg) {
    return "<g transform=\"translate(" + number(x) + " " + number(y) + ")\">\n" + svg + "</g>\n";
}

// A rectangle with its text in the middle.
std::string labelled(const char* kind, std::size_t x, std::size_t y, std::size_t width, const zel::String& text) {
    return rectangle(kind, x, y, width, barHeight) + textAt(x + width / 2, y + 15, " class=\"middle\"", text);
}

const char* cacheKind(const zel::String& cache) {
    return cache.find("L1") != zel::String::npos   ? "l1"
           : cache.find("L2") != zel::String::npos ? "l2"
           : cache.find("L3") != zel::String::npos ? "l3"
                                                   : "l4";
}

// Grows downwards, line by line.
class Column {
  public:
    void text(const zel::String& words, std::size_t available) {
        for (const zel::String& row : wrapped(words, std::max<std::size_t>(available / letter, 1))) {
            m_drawing.svg += textAt(0, m_drawing.height + 13, "", row);
            widen(row.size() * letter);
            m_drawing.height += textHeight;
        }
    }
    void title(const zel::String& words, std::size_t available) {
        for (const zel::String& row : wrapped(words, std::max<std::size_t>(available / boldLetter, 1))) {
            m_drawing.svg += textAt(0, m_drawing.height + 13, " class=\"title\"", row);
            widen(row.size() * boldLetter);
            m_drawing.height += textHeight;
        }
    }
    void add(const Drawing& drawing) {
        space();
        m_drawing.svg += moved(0, m_drawing.height, drawing.svg);
        widen(drawing.width);
        m_drawing.height += drawing.height;
    }
    // As wide as everything else.
    void caches(const std::vector<zel::String>& names) {
        for (const zel::String& name : names) {
            widen(name.size() * letter + gap);
        }
        for (const zel::String& name : names) {
            space();
            m_drawing.svg += labelled(cacheKind(name), 0, m_drawing.height, m_drawing.width, name);
            m_drawing.height += barHeight;
        }
    }
    void widen(std::size_t width) { m_drawing.width = std::max(m_drawing.width, width); }
    Drawing framed(const char* kind) const {
        const std::size_t width = m_drawing.width + 2 * gap;
        const std::size_t height = m_drawing.height + 2 * gap;
        return {width, height, rectangle(kind, 0, 0, width, height) + moved(gap, gap, m_drawing.svg)};
    }
    const Drawing& drawing() const { return m_drawing; }

  private:
    void space() { m_drawing.height += m_drawing.height == 0 ? 0 : gap / 2; }

    Drawing m_drawing;
};

// Beside each other as far as there is room, then in the next row; about as many in each.
Drawing flowed(const std::vector<Drawing>& drawings, std::size_t available) {
    std::size_t width = 0;
    for (const Drawing& drawing : drawings) {
        width = std::max(width, drawing.width);
    }
    const std::size_t most = std::max<std::size_t>((available + gap) / (width + gap), 1);
    const std::size_t rows = (drawings.size() + most - 1) / most;
    const std::size_t perRow = rows == 0 ? 1 : (drawings.size() + rows - 1) / rows;
    Drawing all;
    for (std::size_t first = 0; first < drawings.size(); first += perRow) {
        const std::size_t y = first == 0 ? 0 : all.height + gap;
        for (std::size_t i = first; i < std::min(first + perRow, drawings.size()); ++i) {
            const std::size_t x = (i - first) * (width + gap);
            all.svg += moved(x, y, drawings[i].svg);
            all.width = std::max(all.width, x + drawings[i].width);
            all.height = std::max(all.height, y + drawings[i].height);
        }
    }
    return all;
}

// The threads of a core, at least so wide in all.
Drawing threadsOf(const PictureBox& core, std::size_t width) {
    std::size_t longest = 2;
    for (const zel::String& thread : core.threads) {
        longest = std::max(longest, thread.size());
    }
    const std::size_t count = core.threads.size();
    const std::size_t beside = std::min(count, threadsBeside);
    const std::size_t between = gap / 2;
    const std::size_t each =
        std::max(longest * letter + gap, (width - std::min(width, (beside - 1) * between)) / beside);
    Drawing drawing;
    for (std::size_t i = 0; i < count; ++i) {
        drawing.svg += labelled("thread", i % beside * (each + between), i / beside * (barHeight + between), each,
                                core.threads[i]);
    }
    drawing.width = beside * (each + between) - between;
    drawing.height = (count + beside - 1) / beside * (barHeight + between) - between;
    return drawing;
}

Drawing drawCore(const PictureBox& core, std::size_t width, bool inTable) {
    Column column;
    column.widen(width);
    if (!inTable) {
        column.title(core.title, pageWidth);
        for (const zel::String& cache : core.caches) {
            column.widen(cache.size() * letter + gap);
        }
    }
    column.add(threadsOf(core, column.drawing().width));
    if (!inTable) {
        column.caches(core.caches);
    }
    return column.framed("core");
}

// All as wide as the widest of them.
std::vector<Drawing> drawCores(const PictureRun& run) {
    std::size_t width = 0;
    std::vector<Drawing> cores;
    for (int round = 0; round < 2; ++round) {
        cores.clear();
        for (std::size_t i = 0; i < run.count; ++i) {
            cores.push_back(drawCore(run.first[i], width, run.table));
        }
        for (const Drawing& core : cores) {
            width = std::max(width, core.width - 2 * gap);
        }
    }
    return cores;
}

Drawing drawGroup(const PictureBox& box, const char* kind, std::size_t available, bool manyCores) {
    const std::size_t inside = available - 2 * gap;
    Column column;
    column.title(box.title, inside);
    for (const PictureRun& run : runsOf(box.inside, manyCores)) {
        std::vector<Drawing> drawings;
        if (run.first->isCore()) {
            drawings = drawCores(run);
        }
        for (std::size_t i = 0; drawings.size() < run.count; ++i) {
            drawings.push_back(drawGroup(run.first[i], "group", inside, manyCores));
        }
        if (run.table) {
            column.text(runTitle(run), inside);
        }
        column.add(flowed(drawings, inside));
    }
    column.caches(box.caches);
    return column.framed(kind);
}

constexpr const char* style = "<style>\n"
                              "rect { stroke: #46505a; stroke-width: 1 }\n"
                              "text { font-family: sans-serif; font-size: 12px; fill: #1c2228 }\n"
                              ".title { font-weight: bold }\n"
                              ".middle { text-anchor: middle }\n"
                              ".package { fill: #eef1f4 }\n"
                              ".group { fill: #dde3ea }\n"
                              ".core { fill: #ffffff }\n"
                              ".thread { fill: #cfe3f7 }\n"
                              ".l1 { fill: #fdf0cf }\n"
                              ".l2 { fill: #fbdcae }\n"
                              ".l3 { fill: #f2c3a7 }\n"
                              ".l4 { fill: #e3b5c0 }\n"
                              "</style>\n";

} // namespace

std::string drawSvg(const std::vector<PictureBox>& packages) {
    const bool manyCores = hasManyCores(packages);
    std::vector<Drawing> drawings;
    for (const PictureBox& package : packages) {
        drawings.push_back(drawGroup(package, "package", pageWidth, manyCores));
    }
    const Drawing all = flowed(drawings, pageWidth);
    const std::string width = number(all.width + 2 * gap);
    const std::string height = number(all.height + 2 * gap);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"" +
           width + "\" height=\"" + height + "\" viewBox=\"0 0 " + width + " " + height +
           "\">\n<title>Processors, cores, threads and caches</title>\n" + style +
           "<rect x=\"0\" y=\"0\" width=\"100%\" height=\"100%\" style=\"fill: #ffffff; stroke: none\"/>\n" +
           moved(gap, gap, all.svg) + "</svg>\n";
}

} // namespace quarrow
