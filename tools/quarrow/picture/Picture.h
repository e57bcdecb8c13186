#pragma once

#include <libQuarrow/topology/CoreKind.h>
#include <zel/String.h>

#include <optional>
#include <string>
#include <vector>

namespace quarrow {

struct PictureCache {
    zel::String text;       // "L3 32 MB"
    unsigned int level = 0; // 1 to 4, or more where it is not known

    friend bool operator==(const PictureCache& a, const PictureCache& b) { return a.text == b.text; }
};

// What is drawn as a box: a package, some of its cores around the caches that they share, or a core.
struct PictureBox {
    zel::String title;                // "Package 0: AMD EPYC", "Core 3"; empty for a group of cores
    zel::String note;                 // what all cores inside have, where it is not said in each of them
    std::vector<PictureBox> inside;   // none in a core
    std::vector<zel::String> threads; // of a core: logical processor numbers
    std::vector<PictureCache> caches; // each shared by all in the box and by nothing else
    std::optional<libQuarrow::topology::CoreKind> kind; // of a core, where there are several

    bool isCore() const { return !threads.empty(); }
};

// What lines are drawn with on a terminal.
struct Lines {
    char16_t horizontal;
    char16_t vertical;
    char16_t topLeft;
    char16_t topRight;
    char16_t bottomLeft;
    char16_t bottomRight;
};
constexpr Lines boxLines = {u'─', u'│', u'┌', u'┐', u'└', u'┘'};
constexpr Lines asciiLines = {u'-', u'|', u'+', u'+', u'+', u'+'}; // where the locale has no others

// The picture as text of that many columns, 40 at least.
std::string drawText(const std::vector<PictureBox>& packages, std::size_t columns, const Lines& lines);
// The picture as an SVG 1.1 document.
std::string drawSvg(const std::vector<PictureBox>& packages);
// The element of that document alone, to stand within a page.
std::string drawSvgElement(const std::vector<PictureBox>& packages);

} // namespace quarrow
