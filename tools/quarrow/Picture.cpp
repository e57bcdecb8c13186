#include <tools/quarrow/Picture.h>

#include <tools/quarrow/CacheSharing.h>
#include <tools/quarrow/Processors.h>
#include <tools/quarrow/Text.h>

#include <algorithm>
#include <map>

namespace quarrow {

using libQuarrow::cpu::x86_cache;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_physical_cpu;

namespace {

zel::String cacheName(const x86_cache& cache) {
    const auto suffix = [](libQuarrow::cpu::x86_CacheType type) -> const char* {
        switch (type) {
        case libQuarrow::cpu::x86_cache_type_data:
            return "d";
        case libQuarrow::cpu::x86_cache_type_instruction:
            return "i";
        case libQuarrow::cpu::x86_cache_type_trace:
            return " trace";
        default:
            return "";
        }
    };
    return x86_cache::levelText(cache.getCacheLevel()) + zel::String(suffix(cache.getCacheType())) + " " +
           cache.getCacheSizeFormatted(false);
}

using CoreNumbers = std::vector<std::size_t>; // places in the package, ascending, each once

bool contains(const CoreNumbers& all, const CoreNumbers& some) {
    return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

// Some cores of a package with the caches that serve just them, and the groups among them.
struct Group {
    CoreNumbers cores;
    std::vector<zel::String> caches;
    std::vector<Group> groups;
};

// A cache that several cores share.
struct SharedCache {
    CoreNumbers cores;
    zel::String name;
    zel::String processors; // that it serves
};

// A cache whose cores are no group that nests is named in the group around them.
void add(Group& group, const SharedCache& cache, unsigned int depth) {
    if (cache.cores == group.cores) {
        group.caches.push_back(cache.name);
        return;
    }
    const std::size_t first = cache.cores.front();
    const std::size_t last = cache.cores.back();
    for (Group& inner : group.groups) {
        if (contains(inner.cores, cache.cores)) {
            add(inner, cache, depth + 1);
            return;
        }
        // Groups are of neighbours, so that what overlaps none of them lies between two.
        if (first <= inner.cores.back() && inner.cores.front() <= last) {
            group.caches.push_back(cache.name + " for CPUs " + cache.processors);
            return;
        }
    }
    if (depth == deepestGroup || last - first + 1 != cache.cores.size()) {
        group.caches.push_back(cache.name + " for CPUs " + cache.processors);
        return;
    }
    group.groups.push_back({cache.cores, {cache.name}, {}});
}

class PackagePicture {
  public:
    explicit PackagePicture(const x86_physical_cpu& package) : m_package(package) {
        for (std::size_t core = 0; core < package.getCoreCount(); ++core) {
            m_whole.cores.push_back(core);
            for (std::size_t thread = 0; thread < package.getCore(core).getThreadCount(); ++thread) {
                m_coreOf[&package.getCore(core).getThread(thread)] = core;
            }
        }
        m_coreCaches.resize(package.getCoreCount());
        for (const CacheKind& kind : cacheKindsOf(package)) {
            addKind(kind);
        }
        // The widest first, so that each finds the group it belongs into.
        std::stable_sort(m_shared.begin(), m_shared.end(),
                         [](const SharedCache& a, const SharedCache& b) { return a.cores.size() > b.cores.size(); });
        for (const SharedCache& cache : m_shared) {
            add(m_whole, cache, 0);
        }
    }

    PictureBox box(std::size_t number) const {
        PictureBox whole = groupBox(m_whole);
        whole.title = zel::String::SprintfFormat("Package %u", number);
        const zel::String& name = m_package.get().getCpuName();
        if (!name.isEmpty()) {
            whole.title += ": " + name;
        }
        whole.caches.insert(whole.caches.end(), m_unplaced.begin(), m_unplaced.end());
        return whole;
    }

  private:
    void addKind(const CacheKind& kind) {
        const zel::String name = cacheName(kind.cache);
        if (!kind.instancesKnown) {
            const std::uint32_t threads = kind.cache.getThreadsSharing();
            m_unplaced.push_back(
                name + (threads == 0 ? zel::String(", shared by whom is not known")
                                     : zel::String::SprintfFormat(", shared by %u, which is not known", threads)));
            return;
        }
        std::map<std::size_t, unsigned int> ofOneCore; // how many of this kind a core has to itself
        for (const CacheInstance& instance : kind.instances) {
            CoreNumbers cores;
            for (const x86_cpu* cpu : instance.processors) {
                cores.push_back(m_coreOf.at(cpu));
            }
            std::sort(cores.begin(), cores.end());
            cores.erase(std::unique(cores.begin(), cores.end()), cores.end());
            if (cores.size() == 1) {
                ++ofOneCore[cores.front()];
            } else {
                m_shared.push_back({cores, name, numberRanges(instance.processors)});
            }
        }
        for (const auto& [core, count] : ofOneCore) {
            m_coreCaches[core].push_back(count == 1 ? name : zel::String::SprintfFormat("%u x ", count) + name);
        }
    }

    PictureBox coreBox(std::size_t number) const {
        const libQuarrow::cpu::x86_cpu_core& core = m_package.getCore(number);
        PictureBox box;
        box.title = zel::String::SprintfFormat("Core %u", core.getCoreNumber());
        box.caches = m_coreCaches[number];
        for (std::size_t i = 0; i < core.getThreadCount(); ++i) {
            box.threads.push_back(numberRanges({&core.getThread(i)}));
        }
        return box;
    }

    // Cores and groups in the order of their (first) cores.
    PictureBox groupBox(const Group& group) const {
        std::map<std::size_t, const Group*> groups;
        for (const Group& inner : group.groups) {
            groups[inner.cores.front()] = &inner;
        }
        PictureBox box;
        box.caches = group.caches;
        for (std::size_t i = 0; i < group.cores.size();) {
            const auto inner = groups.find(group.cores[i]);
            if (inner != groups.end()) {
                box.inside.push_back(groupBox(*inner->second));
                i += inner->second->cores.size();
            } else {
                box.inside.push_back(coreBox(group.cores[i]));
                ++i;
            }
        }
        return box;
    }

    const x86_physical_cpu& m_package;
    std::map<const x86_cpu*, std::size_t> m_coreOf;
    Group m_whole;
    std::vector<SharedCache> m_shared;
    std::vector<std::vector<zel::String>> m_coreCaches;
    std::vector<zel::String> m_unplaced; // of which it is not known who shares them
};

std::size_t coreCount(const std::vector<PictureBox>& boxes) {
    std::size_t count = 0;
    for (const PictureBox& box : boxes) {
        count += box.isCore() ? 1 : coreCount(box.inside);
    }
    return count;
}

} // namespace

std::vector<PictureBox> pictureOf(const libQuarrow::cpu::x86_physical_cpus& tree) {
    std::vector<PictureBox> packages;
    for (std::size_t i = 0; i < tree.size(); ++i) {
        packages.push_back(PackagePicture(tree[i]).box(i));
    }
    return packages;
}

bool hasManyCores(const std::vector<PictureBox>& packages) {
    return coreCount(packages) > 16;
}

std::vector<PictureRun> runsOf(const std::vector<PictureBox>& boxes, bool manyCores) {
    const auto alike = [](const PictureBox& a, const PictureBox& b) {
        return a.isCore() && b.isCore() && a.threads.size() == b.threads.size() && a.caches == b.caches;
    };
    std::vector<PictureRun> runs;
    for (std::size_t begin = 0; begin < boxes.size();) {
        std::size_t end = begin + 1;
        while (end < boxes.size() && boxes[begin].isCore() == boxes[end].isCore() &&
               (!manyCores || !boxes[begin].isCore() || alike(boxes[begin], boxes[end]))) {
            ++end;
        }
        runs.push_back({&boxes[begin], end - begin, manyCores && boxes[begin].isCore()});
        begin = end;
    }
    return runs;
}

zel::String runTitle(const PictureRun& run) {
    const std::size_t threads = run.first->threads.size();
    zel::String title = zel::String::SprintfFormat("%u core%s of %u thread%s", run.count, run.count == 1 ? "" : "s",
                                                   threads, threads == 1 ? "" : "s");
    for (std::size_t i = 0; i < run.first->caches.size(); ++i) {
        title += (i == 0 ? (run.count == 1 ? ", with " : ", each with ") : ", ") + run.first->caches[i];
    }
    return title;
}

} // namespace quarrow
