#pragma once

#include <tools/quarrow/picture/Picture.h>

namespace quarrow {

// Something to be drawn, at its place.
struct Shape {
    enum Kind {
        PackageBox,
        GroupBox,
        CoreBox,
        ThreadBox,
        CacheBar, // from side to side of what it serves
        Title,
        Text,
    };
    Kind kind;
    std::size_t x;
    std::size_t y;
    std::size_t width;
    std::size_t height;
    zel::String text;
    unsigned int level = 0;                                      // of a cache
    std::optional<libQuarrow::topology::CoreKind> coreKind = {}; // of a core
};

struct Drawing {
    std::size_t width = 0;
    std::size_t height = 0;
    std::vector<Shape> shapes; // the outer ones before those inside them
};

// Lengths in the units of a drawing: the columns and rows of text, or pixels.
struct Measures {
    std::size_t page; // widest that a drawing may be
    std::size_t letter;
    std::size_t titleLetter;
    std::size_t line;
    std::size_t bar;        // height of a ThreadBox or CacheBar
    std::size_t barPadding; // left and right of its text, together
    std::size_t frameX;     // between the edge of a box and what is inside
    std::size_t frameY;
    std::size_t gapX; // between what stands side by side
    std::size_t gapY; // between what stands one below the other
    // For a terminal: titles stand in the frames of boxes, threads are text, and cores without a title have no frame.
    bool terse;
};

Drawing layOut(const std::vector<PictureBox>& packages, const Measures& measures);

} // namespace quarrow
