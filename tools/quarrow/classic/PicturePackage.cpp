#include <tools/quarrow/classic/ClassicPicture.h>
#include <tools/quarrow/classic/Processors.h>

#include <algorithm>
#include <map>

namespace quarrow {

using libQuarrow::cpu::x86_cache;
using libQuarrow::cpu::x86_cache_kind;
using libQuarrow::cpu::x86_cache_sharing;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_physical_cpu;

namespace {

// Groups of cores nest no deeper than this, however many levels of sharing a processor makes up.
constexpr unsigned int deepestGroup = 2;

zel::String nameOf(const x86_cache& cache) {
    const char* type = "";
    if (cache.getCacheType() == libQuarrow::cpu::x86_cache_type_data) {
        type = "d";
    } else if (cache.getCacheType() == libQuarrow::cpu::x86_cache_type_instruction) {
        type = "i";
    } else if (cache.getCacheType() == libQuarrow::cpu::x86_cache_type_trace) {
        type = " trace";
    }
    return x86_cache::levelText(cache.getCacheLevel()) + zel::String(type) + " " + cache.getCacheSizeFormatted(false);
}

// A cache that several cores share.
struct SharedCache {
    PictureCache cache;
    std::size_t first; // of the cores, by their places in the package
    std::size_t last;
    bool everyCoreBetween;  // whether it serves all cores from the first to the last
    zel::String processors; // that it serves
};

using SharedCaches = std::vector<SharedCache>;

class PackagePicture {
  public:
    PackagePicture(const x86_physical_cpu& package, x86_cache_sharing& sharing);
    PictureBox box(std::size_t number) const;

  private:
    void add(const x86_cache_kind& kind);
    void addShared(const PictureCache& cache, const Processors& processors);
    PictureBox coreBox(std::size_t core) const;
    PictureBox groupBox(std::size_t first, std::size_t last, const SharedCaches& caches, unsigned int depth) const;

    const x86_physical_cpu& m_package;
    std::map<const x86_cpu*, std::size_t> m_coreOf;   // its place in the package
    std::vector<std::vector<PictureCache>> m_ofCores; // caches that a core has to itself
    SharedCaches m_shared;                            // widest first
    std::vector<PictureCache> m_unplaced;             // of which it is not known who shares them
};

PackagePicture::PackagePicture(const x86_physical_cpu& package, x86_cache_sharing& sharing)
    : m_package(package), m_ofCores(package.getCoreCount()) {
    for (std::size_t core = 0; core < package.getCoreCount(); ++core) {
        for (std::size_t thread = 0; thread < package.getCore(core).getThreadCount(); ++thread) {
            m_coreOf[&package.getCore(core).getThread(thread)] = core;
        }
    }
    for (const x86_cache_kind& kind : sharing.kindsOf(package)) {
        add(kind);
    }
    std::stable_sort(m_shared.begin(), m_shared.end(),
                     [](const SharedCache& a, const SharedCache& b) { return a.last - a.first > b.last - b.first; });
}

void PackagePicture::add(const x86_cache_kind& kind) {
    const PictureCache cache{nameOf(kind.cache), kind.cache.getCacheLevel()};
    if (!kind.instancesKnown) {
        const unsigned int threads = kind.cache.getThreadsSharing();
        const zel::String who = threads == 0 ? zel::String("not known by whom")
                                             : zel::String::SprintfFormat("by %u CPUs, not known which", threads);
        m_unplaced.push_back({cache.text + ", shared " + who, cache.level});
        return;
    }
    std::map<std::size_t, unsigned int> ofOneCore; // how many of this kind a core has to itself
    for (const auto& processors : kind.instances) {
        const std::size_t core = m_coreOf.at(processors.front());
        if (std::all_of(processors.begin(), processors.end(),
                        [&](const x86_cpu* cpu) { return m_coreOf.at(cpu) == core; })) {
            ++ofOneCore[core];
        } else {
            addShared(cache, processors);
        }
    }
    for (const auto& [core, count] : ofOneCore) {
        const zel::String times = count == 1 ? zel::String() : zel::String::SprintfFormat("%u x ", count);
        m_ofCores[core].push_back({times + cache.text, cache.level});
    }
}

void PackagePicture::addShared(const PictureCache& cache, const Processors& processors) {
    std::vector<std::size_t> cores;
    cores.reserve(processors.size());
    for (const x86_cpu* cpu : processors) {
        cores.push_back(m_coreOf.at(cpu));
    }
    std::sort(cores.begin(), cores.end());
    cores.erase(std::unique(cores.begin(), cores.end()), cores.end());
    const bool everyCoreBetween = cores.back() - cores.front() + 1 == cores.size();
    m_shared.push_back({cache, cores.front(), cores.back(), everyCoreBetween, numberRanges(processors)});
}

PictureBox PackagePicture::coreBox(std::size_t core) const {
    const libQuarrow::cpu::x86_cpu_core& what = m_package.getCore(core);
    PictureBox box;
    box.title = zel::String::SprintfFormat("Core %u", core);
    box.caches = m_ofCores[core];
    for (std::size_t i = 0; i < what.getThreadCount(); ++i) {
        box.threads.push_back(numberRanges({&what.getThread(i)}));
    }
    return box;
}

// The cores from the first to the last and the caches, widest first, that some of them share.
PictureBox PackagePicture::groupBox(std::size_t first, std::size_t last, const SharedCaches& caches,
                                    unsigned int depth) const {
    struct Group {
        std::size_t last;
        SharedCaches caches;
    };
    std::map<std::size_t, Group> groups; // by their first cores; no two overlap
    PictureBox box;
    for (const SharedCache& cache : caches) {
        if (cache.first == first && cache.last == last && cache.everyCoreBetween) {
            box.caches.push_back(cache.cache);
            continue;
        }
        auto group = groups.upper_bound(cache.last); // the one after it
        const bool alone = group == groups.begin() || std::prev(group)->second.last < cache.first;
        if (alone && cache.everyCoreBetween && depth < deepestGroup) {
            groups[cache.first] = {cache.last, {cache}};
        } else if (!alone && std::prev(group)->first <= cache.first && cache.last <= std::prev(group)->second.last) {
            std::prev(group)->second.caches.push_back(cache);
        } else {
            box.caches.push_back({cache.cache.text + " for CPUs " + cache.processors, cache.cache.level});
        }
    }
    for (std::size_t core = first; core <= last;) {
        const auto group = groups.find(core);
        if (group != groups.end()) {
            box.inside.push_back(groupBox(core, group->second.last, group->second.caches, depth + 1));
            core = group->second.last + 1;
        } else {
            box.inside.push_back(coreBox(core));
            ++core;
        }
    }
    return box;
}

PictureBox PackagePicture::box(std::size_t number) const {
    PictureBox whole = groupBox(0, m_package.getCoreCount() - 1, m_shared, 0);
    whole.title = zel::String::SprintfFormat("Package %u", number);
    const zel::String& name = m_package.get().getCpuName();
    if (!name.isEmpty()) {
        whole.title += ": " + name;
    }
    whole.caches.insert(whole.caches.end(), m_unplaced.begin(), m_unplaced.end());
    return whole;
}

} // namespace

PictureBox picturePackage(const x86_physical_cpu& package, x86_cache_sharing& sharing, std::size_t number) {
    return PackagePicture(package, sharing).box(number);
}

} // namespace quarrow
