#include <tools/quarrow/classic/ClassicDocument.h>

#include <tools/quarrow/classic/Processors.h>

#include <libQuarrow/cpu/x86/x86_cache_sharing.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <map>

namespace quarrow {

using libQuarrow::cpu::x86_cache_sharing;
using libQuarrow::cpu::x86_caches;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_cpu_core;
using libQuarrow::cpu::x86_physical_cpu;
using nlohmann::ordered_json;

namespace {

using Indices = std::map<const x86_cpu*, std::size_t>;

ordered_json coreJson(const x86_cpu_core& core, const Indices& indices) {
    ordered_json threads = ordered_json::array();
    for (std::size_t i = 0; i < core.getThreadCount(); ++i) {
        threads.push_back(indices.at(&core.getThread(i)));
    }
    return {{"location", core.getLocation().toString(true).toUtf8()},
            {"affinity", core.getAffinityMask().toString().toUtf8()},
            {"threads", threads}};
}

ordered_json packageJson(const x86_physical_cpu& package, x86_cache_sharing& sharing, const Indices& indices) {
    ordered_json cores = ordered_json::array();
    for (std::size_t i = 0; i < package.getCoreCount(); ++i) {
        cores.push_back(coreJson(package.getCore(i), indices));
    }
    x86_caches caches;
    const bool hasCaches = sharing.cachesOf(package, caches) && !caches.isEmpty();
    return {{"location", package.getLocation().toString(true).toUtf8()},
            {"name", knownText(package.get().getCpuName())},
            {"affinity", package.getAffinityMask().toString().toUtf8()},
            {"caches", hasCaches ? cachesJson(caches) : ordered_json()},
            {"cores", cores}};
}

ordered_json packagesJson(const Machine& machine, x86_cache_sharing& sharing) {
    Indices indices;
    for (const x86_cpu* cpu : machine.processors) {
        indices.emplace(cpu, indices.size());
    }
    ordered_json packages = ordered_json::array();
    for (std::size_t i = 0; i < machine.tree.size(); ++i) {
        packages.push_back(packageJson(machine.tree[i], sharing, indices));
    }
    return packages;
}

} // namespace

ordered_json knownNumber(std::uint32_t number) {
    return number != 0 ? ordered_json(number) : ordered_json();
}

ordered_json knownText(const zel::String& text) {
    return text.isEmpty() ? ordered_json() : ordered_json(text.toUtf8());
}

std::string classicDocument(const Request& request, const Section& section) {
    x86_cache_sharing sharing;
    std::map<const x86_cpu*, ordered_json> elements;
    const auto visit = [&](const x86_cpu& cpu) {
        if (isNamed(cpu, request.operands)) {
            ordered_json& element = elements[&cpu] = processorJson(cpu, sharing.cachesOf(cpu));
            if (section.add) {
                section.add(cpu, element);
            }
        }
    };
    const Machine machine = readMachine(request, visit, section.doing);
    ordered_json document = emptyDocument(request);
    ordered_json& processors = document["processors"] = ordered_json::array();
    for (const x86_cpu* cpu : namedProcessors(machine.processors, request.operands)) {
        processors.push_back(elements.at(cpu));
    }
    document["packages"] = request.operands.empty() ? packagesJson(machine, sharing) : ordered_json();
    return documentText(document);
}

} // namespace quarrow
