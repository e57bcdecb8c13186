#include <tools/quarrow/Text.h>
#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/classic/ClassicDocument.h>
#include <tools/quarrow/classic/Processors.h>

#include <libQuarrow/cpu/x86/x86_cache_sharing.h>

namespace quarrow {

using libQuarrow::cpu::x86_cache;
using libQuarrow::cpu::x86_cache_kind;
using libQuarrow::cpu::x86_physical_cpu;

namespace {

zel::String sharers(const x86_cache_kind& kind) {
    if (kind.instancesKnown) {
        zel::Array<zel::String> sets;
        for (const auto& processors : kind.instances) {
            sets.append(numberRanges(processors));
        }
        return zel::String::join(sets, " | ");
    }
    const unsigned int threads = kind.cache.getThreadsSharing();
    return threads == 0 ? zel::String("not known")
                        : zel::String::SprintfFormat("%u each, which ones is not known", threads);
}

std::string described(const x86_cache_kind& kind) {
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
    return line(name, what) + line("     logical CPUs", sharers(kind));
}

} // namespace

std::string classicCachesCommand(const Request& request) {
    if (request.json) {
        return classicDocument(request);
    }
    libQuarrow::cpu::x86_cache_sharing sharing;
    const Machine machine = readMachine(request, [&](const libQuarrow::cpu::x86_cpu& cpu) { sharing.read(cpu); });
    const libQuarrow::cpu::x86_physical_cpus& tree = machine.tree;
    std::string text;
    for (std::size_t i = 0; i < tree.size(); ++i) {
        const x86_physical_cpu& package = tree[i];
        text += i == 0 ? "" : "\n";
        text += line(zel::String::SprintfFormat("PHYSICAL_CPU[%u]", i),
                     package.getLocation().toString(true) + " - " + package.get().getCpuName());
        const std::vector<x86_cache_kind> kinds = sharing.kindsOf(package);
        for (const x86_cache_kind& kind : kinds) {
            text += described(kind);
        }
        text += kinds.empty() ? "   not known\n" : "";
    }
    return text;
}

} // namespace quarrow
