#include <tools/quarrow/Commands.h>
#include <tools/quarrow/Document.h>
#include <tools/quarrow/Processors.h>
#include <tools/quarrow/Text.h>

#include <algorithm>

namespace quarrow {

using libQuarrow::cpu::x86_cache;
using libQuarrow::cpu::x86_caches;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_physical_cpu;

namespace {

// One cache and the logical processors that reported it.
struct Instance {
    x86_cache cache;
    std::vector<const x86_cpu*> processors;
};

// The caches of one kind in a package.
struct Kind {
    x86_cache cache;
    std::vector<Instance> instances; // only where the processors tell one from another
    bool instancesKnown = true;
};

template <class Record>
Record& findOrAdd(std::vector<Record>& records, const x86_cache& cache, libQuarrow::cpu::ComparisonType comparison) {
    const auto found = std::find_if(records.begin(), records.end(), [&](const Record& record) {
        return record.cache.compareCaches(cache, comparison).value_or(false);
    });
    if (found != records.end()) {
        return *found;
    }
    records.emplace_back();
    records.back().cache = cache;
    return records.back();
}

// Some processors tell only how many share a cache. Those are the ones whose APIC IDs differ in no more than the low
// bits, as many as that number needs: the rule of Intel's leaf 4, and by AMD64 manual volume 3 (Fn8000_001D) of AMD's
// too.
void completeTopologyIds(x86_cache& cache, const x86_cpu& cpu) {
    std::uint32_t id = 0;
    std::uint32_t mask = 0;
    const std::uint32_t threads = cache.getThreadsSharing();
    if (threads == 0 || cache.getTopologyIds(id, mask) || !cpu.getApicId(id)) {
        return;
    }
    std::uint64_t span = 1;
    while (span < threads) {
        span *= 2;
    }
    cache.setTopologyIds(id, static_cast<std::uint32_t>(~(span - 1)));
}

// In the order of level and type.
std::vector<Kind> kindsOf(const x86_physical_cpu& package) {
    std::vector<Kind> kinds;
    for (std::size_t i = 0; i < package.getThreadCount(); ++i) {
        const x86_cpu& cpu = package.getThread(i);
        x86_caches caches;
        if (!cpu.getCaches(caches)) {
            continue;
        }
        for (x86_cache cache : caches) {
            completeTopologyIds(cache, cpu);
            Kind& kind = findOrAdd(kinds, cache, libQuarrow::cpu::CompareProperties);
            std::uint32_t id = 0;
            std::uint32_t mask = 0;
            kind.instancesKnown = kind.instancesKnown && cache.getTopologyIds(id, mask);
            findOrAdd(kind.instances, cache, libQuarrow::cpu::ComparePropertiesAndTopology).processors.push_back(&cpu);
        }
    }
    std::stable_sort(kinds.begin(), kinds.end(), [](const Kind& a, const Kind& b) { return a.cache < b.cache; });
    return kinds;
}

zel::String sharing(const Kind& kind) {
    if (kind.instancesKnown) {
        zel::Array<zel::String> sets;
        for (const Instance& instance : kind.instances) {
            sets.append(numberRanges(instance.processors));
        }
        return zel::String::join(sets, " | ");
    }
    const unsigned int threads = kind.cache.getThreadsSharing();
    return threads == 0 ? zel::String("not known")
                        : zel::String::SprintfFormat("%u each, which ones is not known", threads);
}

std::string described(const Kind& kind) {
    const x86_cache& cache = kind.cache;
    zel::String what = cache.getCacheSizeFormatted(false);
    if (kind.instancesKnown && kind.instances.size() > 1) {
        what = zel::String::SprintfFormat("%u x ", kind.instances.size()) + what;
    }
    what += ", " + x86_cache::associativityText(cache.getAssociativity());
    if (cache.getLineSizeBytes() != 0) {
        what += zel::String::SprintfFormat(", %u bytes per line", cache.getLineSizeBytes());
    }
    const zel::String name = zel::String("   ") + x86_cache::levelText(cache.getCacheLevel()) + " " +
                             x86_cache::typeText(cache.getCacheType());
    return line(name, what) + line("     logical CPUs", sharing(kind));
}

} // namespace

std::string cachesCommand(const Request& request) {
    if (request.json) {
        return machineDocument(request);
    }
    const libQuarrow::cpu::x86_physical_cpus tree = readTree(request);
    std::string text;
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const x86_physical_cpu& package = tree[i];
        text += i == 0 ? "" : "\n";
        text += line(zel::String::SprintfFormat("PHYSICAL_CPU[%u]", i),
                     package.getLocation().toString(true) + " - " + package.get().getCpuName());
        const std::vector<Kind> kinds = kindsOf(package);
        for (const Kind& kind : kinds) {
            text += described(kind);
        }
        text += kinds.empty() ? "   not known\n" : "";
    }
    return text;
}

} // namespace quarrow
