#pragma once

#include <libQuarrow/cpu/x86/x86_cache_sharing.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <zel/String.h>

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

    bool isCore() const { return !threads.empty(); }
};

// A package with all its cores, in groups where they share caches.
PictureBox picturePackage(const libQuarrow::cpu::x86_physical_cpu& package, libQuarrow::cpu::x86_cache_sharing& sharing,
                          std::size_t number);
// A box for each package, in order. Where there are many cores, those that are alike have no title and no caches; the
// note of the box around them says what they have.
std::vector<PictureBox> pictureOf(const libQuarrow::cpu::x86_physical_cpus& tree,
                                  libQuarrow::cpu::x86_cache_sharing& sharing);

// The picture as text of that many columns, 40 at least.
std::string drawText(const std::vector<PictureBox>& packages, std::size_t columns);
// The picture as an SVG 1.1 document.
std::string drawSvg(const std::vector<PictureBox>& packages);

} // namespace quarrow
