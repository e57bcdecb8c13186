#pragma once

#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <zel/String.h>

#include <string>
#include <vector>

namespace quarrow {

// What is drawn as a box: a package, some of its cores around the caches that they share, or a core.
struct PictureBox {
    zel::String title;                // "Package 0: AMD EPYC", "Core 3"; empty for a group of cores
    std::vector<zel::String> caches;  // "L3 32 MB": each shared by all in the box and by nothing else
    std::vector<zel::String> threads; // of a core: logical processor numbers
    std::vector<PictureBox> inside;   // none in a core

    bool isCore() const { return !threads.empty(); }
};

// A box for each package, in order. Groups of cores nest at most so deep:
constexpr unsigned int deepestGroup = 2;
std::vector<PictureBox> pictureOf(const libQuarrow::cpu::x86_physical_cpus& tree);

// Neighbours in `boxes` that are drawn in the same manner: as they stand, or, of a machine with many cores, a run of
// cores that are alike as one table that says once what they have.
struct PictureRun {
    const PictureBox* first;
    std::size_t count;
    bool table;
};
std::vector<PictureRun> runsOf(const std::vector<PictureBox>& boxes, bool manyCores);
bool hasManyCores(const std::vector<PictureBox>& packages);
// Of a run that is a table: "64 cores of 2 threads, each with L1d 32 KB, L2 512 KB".
zel::String runTitle(const PictureRun& run);

// The picture as text of that many columns, 40 at least.
std::string drawText(const std::vector<PictureBox>& packages, std::size_t columns);
// The picture as an SVG 1.1 document.
std::string drawSvg(const std::vector<PictureBox>& packages);

} // namespace quarrow
