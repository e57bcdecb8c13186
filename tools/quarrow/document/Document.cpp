#include <tools/quarrow/document/Document.h>

#include <tools/quarrow/Processors.h>

#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <algorithm>

namespace quarrow {

using libQuarrow::cpu::x86_caches;
using libQuarrow::cpu::x86_cpu;
using libQuarrow::cpu::x86_cpu_core;
using libQuarrow::cpu::x86_physical_cpu;
using libQuarrow::cpu::x86_physical_cpus;
using nlohmann::ordered_json;

namespace {

// All processors of the tree in the order of their places in the affinity: ascending group, then bit.
Processors inAffinityOrder(const x86_physical_cpus& tree) {
    Processors processors;
    for (std::size_t i = 0; i < tree.getThreadCount(); ++i) {
        processors.push_back(&tree.getThread(i));
    }
    const auto place = [](const x86_cpu* cpu) {
        const auto& groups = cpu->getAffinityMask().getAffinityData().groups();
        return groups.empty() ? std::make_pair(std::uint16_t{0}, std::uint64_t{0})
                              : std::make_pair(groups.front().group, groups.front().mask);
    };
    std::sort(processors.begin(), processors.end(),
              [&place](const x86_cpu* a, const x86_cpu* b) { return place(a) < place(b); });
    return processors;
}

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

ordered_json packageJson(const x86_physical_cpu& package, const Indices& indices) {
    ordered_json cores = ordered_json::array();
    for (std::size_t i = 0; i < package.getCoreCount(); ++i) {
        cores.push_back(coreJson(package.getCore(i), indices));
    }
    x86_caches caches;
    const bool hasCaches = package.getCaches(caches) && !caches.isEmpty();
    return {{"location", package.getLocation().toString(true).toUtf8()},
            {"name", knownText(package.get().getCpuName())},
            {"affinity", package.getAffinityMask().toString().toUtf8()},
            {"caches", hasCaches ? cachesJson(caches) : ordered_json()},
            {"cores", cores}};
}

ordered_json processorsJson(const Processors& processors, const Section& section) {
    ordered_json list = ordered_json::array();
    for (const x86_cpu* cpu : processors) {
        list.push_back(processorJson(*cpu));
    }
    if (section) {
        section(processors, list);
    }
    return list;
}

} // namespace

ordered_json knownNumber(std::uint32_t number) {
    return number != 0 ? ordered_json(number) : ordered_json();
}

ordered_json knownText(const zel::String& text) {
    return text.isEmpty() ? ordered_json() : ordered_json(text.toUtf8());
}

ordered_json emptyDocument(const Request& request) {
    const std::string native = "native"; // this machine, which is no recording
    ordered_json document = {{"quarrow", QUARROW_VERSION}, {"machine", request.machineFile.value_or(native)}};
    if (request.machineFile == native) {
        document["recorded"] = true; // a file of that name
    }
    return document;
}

std::string documentText(const ordered_json& document) {
    return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string machineDocument(const Request& request, const Section& section) {
    const x86_physical_cpus tree = readTree(request);
    const Processors processors = inAffinityOrder(tree);
    Indices indices;
    for (const x86_cpu* cpu : processors) {
        indices.emplace(cpu, indices.size());
    }
    ordered_json packages = ordered_json::array();
    for (std::size_t i = 0; i < tree.size(); ++i) {
        packages.push_back(packageJson(tree[i], indices));
    }
    ordered_json document = emptyDocument(request);
    document["processors"] = processorsJson(processors, section);
    document["packages"] = std::move(packages);
    return documentText(document);
}

std::string processorsDocument(const Request& request, const Processors& processors, const Section& section) {
    ordered_json document = emptyDocument(request);
    document["processors"] = processorsJson(processors, section);
    document["packages"] = nullptr;
    return documentText(document);
}

} // namespace quarrow
