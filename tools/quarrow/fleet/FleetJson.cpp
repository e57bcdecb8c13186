#include <tools/quarrow/fleet/FleetMachine.h>

namespace quarrow {

using nlohmann::ordered_json;

namespace {

template <class Value>
ordered_json knownOrNull(const std::optional<Value>& value) {
    return value ? ordered_json(*value) : ordered_json();
}

ordered_json knownOrNull(const std::string& text) {
    return text.empty() ? ordered_json() : ordered_json(text);
}

ordered_json kindsJson(const std::vector<FleetKind>& kinds) {
    ordered_json list = ordered_json::array();
    for (const FleetKind& kind : kinds) {
        list.push_back({{"kind", knownOrNull(kind.kind)},
                        {"microarchitecture", knownOrNull(kind.microarchitecture)},
                        {"cores", kind.cores},
                        {"threads", kind.threads}});
    }
    return list;
}

ordered_json cachesJson(const std::vector<FleetCache>& caches) {
    ordered_json list = ordered_json::array();
    for (const FleetCache& cache : caches) {
        const bool isTrace = cache.type == "trace";
        list.push_back({{"level", "L" + std::to_string(cache.level)},
                        {"type", cache.type},
                        {"sizeBytes", isTrace ? ordered_json() : ordered_json(cache.sizeBytes)},
                        {"sizeMicroOps", isTrace ? ordered_json(cache.sizeBytes) : ordered_json()},
                        {"ways", knownOrNull(cache.ways)},
                        {"lineSizeBytes", knownOrNull(cache.lineSizeBytes)},
                        {"instances", knownOrNull(cache.instances)}});
    }
    return list;
}

} // namespace

ordered_json fleetJson(const FleetMachine& machine) {
    return {{"vendor", machine.vendor},
            {"name", knownOrNull(machine.name)},
            {"family", machine.family},
            {"model", machine.model},
            {"stepping", machine.stepping},
            {"codename", knownOrNull(machine.codename)},
            {"hypervisor", knownOrNull(machine.hypervisor)},
            {"packages", machine.packages},
            {"dies", knownOrNull(machine.dies)},
            {"cores", machine.cores},
            {"threads", machine.threads},
            {"numaNodes", machine.numaNodes == 0 ? ordered_json() : ordered_json(machine.numaNodes)},
            {"level", knownOrNull(machine.level)},
            {"kinds", kindsJson(machine.kinds)},
            {"caches", cachesJson(machine.caches)}};
}

} // namespace quarrow
