#include <tools/quarrow/picture/PictureSummary.h>

#include <algorithm>

namespace quarrow {
namespace {

// With more, cores are drawn small.
constexpr std::size_t manyCores = 16;

using Cores = std::vector<PictureBox*>;

void collectCores(std::vector<PictureBox>& boxes, Cores& cores) {
    for (PictureBox& box : boxes) {
        if (box.isCore()) {
            cores.push_back(&box);
        }
        collectCores(box.inside, cores);
    }
}

Cores coresIn(std::vector<PictureBox>& boxes) {
    Cores cores;
    collectCores(boxes, cores);
    return cores;
}

bool alike(const PictureBox& a, const PictureBox& b) {
    return a.threads.size() == b.threads.size() && a.kind == b.kind && a.caches == b.caches;
}

zel::String noteOf(const Cores& cores) {
    const std::size_t threads = cores.front()->threads.size();
    const auto kind = cores.front()->kind;
    const std::string kindName = kind ? std::string(" ") + nameOf(*kind) : std::string();
    zel::String note = zel::String::SprintfFormat("%u%s core%s of %u thread%s", cores.size(), kindName,
                                                  cores.size() == 1 ? "" : "s", threads, threads == 1 ? "" : "s");
    const char* before = cores.size() == 1 ? ", with " : ", each with ";
    for (const PictureCache& cache : cores.front()->caches) {
        note += before + cache.text;
        before = ", ";
    }
    return note;
}

// Puts what the cores inside have into one note, where they are alike; else each run of alike cores into a box.
void summarise(PictureBox& box) {
    const Cores cores = coresIn(box.inside);
    if (std::all_of(cores.begin(), cores.end(), [&](const PictureBox* core) { return alike(*core, *cores.front()); })) {
        box.note = noteOf(cores);
        for (PictureBox* core : cores) {
            core->title.clear();
            core->caches.clear();
        }
        return;
    }
    std::vector<PictureBox> boxes;
    const PictureBox* before = nullptr;
    for (PictureBox& inner : box.inside) {
        if (!inner.isCore()) {
            boxes.push_back(inner);
        } else if (before == nullptr || !before->isCore() || !alike(*before, inner)) {
            boxes.emplace_back().inside.push_back(inner);
        } else {
            boxes.back().inside.push_back(inner);
        }
        before = &inner;
    }
    for (PictureBox& inner : boxes) {
        summarise(inner);
    }
    box.inside = std::move(boxes);
}

} // namespace

void summariseCores(std::vector<PictureBox>& packages) {
    if (coresIn(packages).size() > manyCores) {
        std::for_each(packages.begin(), packages.end(), summarise);
    }
}

} // namespace quarrow
