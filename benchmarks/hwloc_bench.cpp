// hwloc loading the same machine, for comparison. Not built where it is not installed.

#include <benchmarks/Ratios.h>

#include <cstdlib>
#include <hwloc.h>

namespace quarrow_bench {
namespace {

// `components`: as its documentation describes the variable; null for what it does by itself.
void load(benchmark::State& state, const char* components) {
    if (components != nullptr) {
        setenv("HWLOC_COMPONENTS", components, 1);
    } else {
        unsetenv("HWLOC_COMPONENTS");
    }
    for (auto _ : state) {
        hwloc_topology_t topology = nullptr;
        if (hwloc_topology_init(&topology) != 0 || hwloc_topology_load(topology) != 0) {
            state.SkipWithError("hwloc cannot load the topology");
            break;
        }
        state.counters["processors"] = hwloc_get_nbobjs_by_type(topology, HWLOC_OBJ_PU);
        hwloc_topology_destroy(topology);
    }
    unsetenv("HWLOC_COMPONENTS");
}
BENCHMARK_CAPTURE(load, default, nullptr)->Name("hwloc/default")->UseRealTime();
// "stop": nothing beside it, else the operating system's own components would follow.
BENCHMARK_CAPTURE(load, x86, "x86,stop")->Name("hwloc/x86_backend_only")->UseRealTime();

boost::optional<double> over(const Results& results, const char* ours, const char* other) {
    const auto own = results.nanoseconds(ours);
    const auto theirs = results.nanoseconds(other);
    return own && theirs ? boost::make_optional(*own / *theirs) : boost::none;
}

const AddRatio ratios[] = {
    {"tree build / hwloc, default", "<= 0.40", [](const Results& r) { return over(r, "live/tree", "hwloc/default"); }},
    {"topology / hwloc, default", "<= 0.10",
     [](const Results& r) { return over(r, "live/topology", "hwloc/default"); }},
    {"the topology's CPUIDs and migrations alone / hwloc, default", "",
     [](const Results& r) { return over(r, "live/topology_cpuids_and_migrations", "hwloc/default"); }},
    {"tree build / hwloc, x86 backend only", "<= 0.80",
     [](const Results& r) { return over(r, "live/tree", "hwloc/x86_backend_only"); }},
};

} // namespace
} // namespace quarrow_bench
