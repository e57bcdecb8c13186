#include <tools/quarrow/picture/TopologyPicture.h>

#include <tools/quarrow/Words.h>
#include <tools/quarrow/picture/PictureSummary.h>

#include <algorithm>
#include <map>

namespace quarrow {

using libQuarrow::topology::Cache;
using libQuarrow::topology::CacheFigures;
using libQuarrow::topology::CacheType;
using libQuarrow::topology::CoreKind;
using libQuarrow::topology::ProcessorSet;
using libQuarrow::topology::Topology;

namespace {

zel::String text(const std::string& utf8) {
    return zel::String::fromUtf8(utf8);
}

std::string shortName(const CacheFigures& figures) {
    std::string level = "L" + std::to_string(figures.level);
    switch (figures.type) {
    case CacheType::data:
        return level + "d";
    case CacheType::instruction:
        return level + "i";
    case CacheType::trace:
        return level + " trace";
    default:
        return level;
    }
}

// "P-core 0": as makers call the kinds.
const char* coreName(const std::optional<CoreKind>& kind) {
    if (!kind) {
        return "Core ";
    }
    return *kind == CoreKind::performance ? "P-core " : *kind == CoreKind::efficient ? "E-core " : "LP-core ";
}

class TopologyPicture {
  public:
    explicit TopologyPicture(const Topology& topology);
    PictureBox package(std::size_t number);

  private:
    struct Level {
        const char* name;
        const std::vector<ProcessorSet>& (Topology::*objects)() const;
    };
    static constexpr Level levels[] = {
        {"Die", &Topology::dies},
        {"Complex", &Topology::complexes},
        {"Module", &Topology::modules},
        {"Core", &Topology::cores},
    };
    static constexpr std::size_t coreLevel = std::size(levels) - 1;

    // Caches that the same processors share.
    struct Shared {
        ProcessorSet processors;
        std::vector<PictureCache> caches;
        bool placed = false;
    };

    // Those that serve all of these processors and no others.
    std::vector<PictureCache> take(const ProcessorSet& processors);
    PictureBox boxOf(const ProcessorSet& processors, std::size_t level);
    PictureBox coreBox(std::size_t number, const ProcessorSet& processors);
    bool divides(std::size_t level, const ProcessorSet& processors) const;

    const Topology& m_topology;
    std::map<std::string, Shared> m_shared; // by the list of their processors
    std::vector<std::pair<ProcessorSet, PictureCache>> m_unplaced;
};

TopologyPicture::TopologyPicture(const Topology& topology) : m_topology(topology) {
    for (const Cache& cache : topology.caches()) {
        const zel::String name = text(shortName(cache.figures) + " " + cacheSize(cache.figures));
        if (!cache.sharedBy) {
            m_unplaced.push_back({cache.processors, {name + ", shared by whom is not known", cache.figures.level}});
            continue;
        }
        for (const ProcessorSet& processors : *cache.sharedBy) {
            Shared& shared = m_shared[processors.toList()];
            shared.processors = processors;
            shared.caches.push_back({name, cache.figures.level});
        }
    }
}

std::vector<PictureCache> TopologyPicture::take(const ProcessorSet& processors) {
    const auto found = m_shared.find(processors.toList());
    if (found == m_shared.end()) {
        return {};
    }
    found->second.placed = true;
    return found->second.caches;
}

PictureBox TopologyPicture::package(std::size_t number) {
    const ProcessorSet& processors = m_topology.packages()[number];
    PictureBox box = boxOf(processors, 0);
    box.title = text("Package " + std::to_string(number) + ": " +
                     processorName(*m_topology.find(*processors.first())->identity));
    // Caches that no box has for itself say whom they serve.
    for (const auto& [list, shared] : m_shared) {
        if (!shared.placed && processors.contains(shared.processors)) {
            for (const PictureCache& cache : shared.caches) {
                box.caches.push_back({cache.text + text(" for CPUs " + list), cache.level});
            }
        }
    }
    for (const auto& [served, cache] : m_unplaced) {
        if (!(served & processors).empty()) {
            box.caches.push_back(cache);
        }
    }
    return box;
}

PictureBox TopologyPicture::coreBox(std::size_t number, const ProcessorSet& processors) {
    PictureBox box;
    box.kind = m_topology.find(*processors.first())->kind;
    box.title = text(coreName(box.kind) + std::to_string(number));
    for (const std::uint32_t thread : processors) {
        box.threads.push_back(text(std::to_string(thread)));
        for (const PictureCache& cache : take(ProcessorSet{thread})) { // of this thread alone
            box.caches.push_back(cache);
        }
    }
    if (processors.count() > 1) {
        const std::vector<PictureCache> own = take(processors);
        box.caches.insert(box.caches.end(), own.begin(), own.end());
    }
    return box;
}

// Whether objects of the level lie within these processors and are neither all of them nor cores.
bool TopologyPicture::divides(std::size_t level, const ProcessorSet& processors) const {
    const std::vector<ProcessorSet>& objects = (m_topology.*levels[level].objects)();
    return std::any_of(objects.begin(), objects.end(), [&](const ProcessorSet& object) {
        return object != processors && processors.contains(object) && m_topology.oneThreadPerCore(object).count() > 1;
    });
}

// The box of these processors; inside are those of the next level that divides them, and cores beside them that are in
// no such object.
PictureBox TopologyPicture::boxOf(const ProcessorSet& processors, std::size_t level) {
    while (level < coreLevel && !divides(level, processors)) {
        ++level;
    }
    PictureBox box;
    std::vector<std::pair<std::uint32_t, PictureBox>> inside; // by their lowest processors
    ProcessorSet rest = processors;
    if (level < coreLevel) {
        const std::vector<ProcessorSet>& objects = (m_topology.*levels[level].objects)();
        for (std::size_t number = 0; number < objects.size(); ++number) {
            if (processors.contains(objects[number]) && m_topology.oneThreadPerCore(objects[number]).count() > 1) {
                rest -= objects[number];
                PictureBox inner = boxOf(objects[number], level + 1);
                inner.title = text(std::string(levels[level].name) + " " + std::to_string(number));
                inside.emplace_back(*objects[number].first(), std::move(inner));
            }
        }
    }
    for (const std::uint32_t number : m_topology.oneThreadPerCore(rest)) {
        const std::uint32_t core = m_topology.find(number)->core;
        inside.emplace_back(number, coreBox(core, m_topology.cores()[core]));
    }
    // Cores that stand alone side by side, then the groups.
    std::sort(inside.begin(), inside.end(), [](const auto& a, const auto& b) {
        return std::make_pair(!a.second.isCore(), a.first) < std::make_pair(!b.second.isCore(), b.first);
    });
    for (auto& [number, inner] : inside) {
        box.inside.push_back(std::move(inner));
    }
    if (box.inside.size() != 1 || !box.inside.front().isCore()) {
        box.caches = take(processors); // else the core has them
    }
    return box;
}

} // namespace

std::vector<PictureBox> pictureOf(const Topology& topology) {
    TopologyPicture picture(topology);
    std::vector<PictureBox> packages;
    for (std::size_t number = 0; number < topology.packages().size(); ++number) {
        packages.push_back(picture.package(number));
    }
    summariseCores(packages);
    return packages;
}

} // namespace quarrow
