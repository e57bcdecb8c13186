// Recorded machines: what the library itself costs, without CPUIDs and migrations, and how that grows.

#include <benchmarks/Ratios.h>
#include <benchmarks/SyntheticMachine.h>

#include <libQuarrow/cpu/x86/x86_physical_cpus.h>
#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingFile.h>
#include <libQuarrow/recording/formats/RecordingWriter.h>
#include <libQuarrow/topology/Topology.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <string>
#include <utility>

using namespace libQuarrow;
using benchmark::State;

namespace quarrow_bench {
namespace {

constexpr std::int64_t sizes[] = {64, 512, 2048, 8192, 16384};
constexpr std::int64_t flatFrom = 512;
constexpr std::size_t loadedProcessors = 4096;

// What the allocator has handed out.
double allocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

std::size_t threadsOf(const cpu::x86_physical_cpus& tree) {
    return tree.getThreadCount();
}
std::size_t threadsOf(const std::optional<topology::Topology>& topology) {
    return topology ? topology->processors().size() : 0;
}

cpu::x86_physical_cpus makeTree() {
    return cpu::x86_physical_cpus(true);
}
std::optional<topology::Topology> makeTopology() {
    return topology::Topology::read();
}

// A machine of its own for every build, as a process has one: nothing that is kept once per machine is there before.
template <class Make>
void build(State& state, Layout layout, Make make) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const os::Recording recording = syntheticMachine(layout, count);
    double before = 0;
    double after = 0;
    for (auto _ : state) {
        state.PauseTiming();
        {
            os::RecordedMachine machine(recording);
            const os::ScopedMachine scope(machine);
            before = allocatedBytes();
            state.ResumeTiming();
            const auto built = make();
            state.PauseTiming();
            after = allocatedBytes();
            if (threadsOf(built) != count) {
                state.SkipWithError("a processor is missing");
            }
        }
        state.ResumeTiming();
    }
    state.counters["processors"] = static_cast<double>(count);
    state.counters["bytes_per_processor"] = (after - before) / static_cast<double>(count);
}
void everySize(benchmark::internal::Benchmark* benchmark) {
    for (const std::int64_t size : sizes) {
        benchmark->Arg(size);
    }
    benchmark->UseRealTime()->Unit(benchmark::kMillisecond)->Repetitions(15);
}
BENCHMARK_CAPTURE(build, intel, Layout::intel, makeTree)->Name("recorded/intel")->Apply(everySize);
BENCHMARK_CAPTURE(build, amd, Layout::amdTable, makeTree)->Name("recorded/amd")->Apply(everySize);
BENCHMARK_CAPTURE(build, topology, Layout::intel, makeTopology)->Name("recorded/topology")->Apply(everySize);

// What a tree of the machine asks, once for each core.
void queriesOfCores(State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    os::RecordedMachine machine(syntheticMachine(Layout::intel, count));
    const os::ScopedMachine scope(machine);
    const topology::Topology topology = topology::Topology::read().value();
    for (auto _ : state) {
        for (const topology::ProcessorSet& core : topology.cores()) {
            benchmark::DoNotOptimize((topology.packages()[topology.find(*core.first())->package] & core).count());
            benchmark::DoNotOptimize(topology.oneThreadPerCore(core).count());
        }
    }
    state.counters["processors"] = static_cast<double>(count);
}
BENCHMARK(queriesOfCores)->Name("recorded/queries_of_cores")->Apply(everySize);

void load(State& state) {
    const std::string path = (std::filesystem::temp_directory_path() / "quarrow_bench.txt").string();
    {
        std::ofstream file(path, std::ios::binary);
        os::writeRecording(syntheticMachine(Layout::intel, loadedProcessors), file);
    }
    for (auto _ : state) {
        os::RecordingError error;
        const auto recording = os::readRecording(path, error);
        if (!recording || recording->processors.size() != loadedProcessors) {
            state.SkipWithError("the recording cannot be read");
            break;
        }
    }
    state.counters["megabytes"] = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
    std::filesystem::remove(path);
}
BENCHMARK(load)->Name("recording/load_4096")->UseRealTime()->Unit(benchmark::kMillisecond)->Repetitions(15);

std::string nameOf(const char* machine, std::int64_t size) {
    return std::string(machine) + "/" + std::to_string(size);
}

// The slowest size over the fastest, in time per processor.
boost::optional<double> spread(const Results& results, const char* machine) {
    double least = 0;
    double most = 0;
    for (const std::int64_t size : sizes) {
        const auto time = results.nanosecondsPer(nameOf(machine, size), "processors");
        if (!time) {
            return boost::none;
        }
        if (size >= flatFrom) {
            least = least == 0 ? *time : std::min(least, *time);
            most = std::max(most, *time);
        }
    }
    return most / least;
}

boost::optional<double> largest(const Results& results, const char* machine, const char* counter) {
    return results.counter(nameOf(machine, 16384), counter);
}

const AddRatio ratios[] = {
    {"recorded Intel, 512 processors, ns per processor", "",
     [](const Results& r) { return r.nanosecondsPer("recorded/intel/512", "processors"); }},
    {"recorded Intel, 512 to 16384 processors: slowest / fastest", "<= 1.50",
     [](const Results& r) { return spread(r, "recorded/intel"); }},
    {"recorded AMD, 512 processors, ns per processor", "",
     [](const Results& r) { return r.nanosecondsPer("recorded/amd/512", "processors"); }},
    {"recorded AMD, 512 to 16384 processors: slowest / fastest", "<= 1.50",
     [](const Results& r) { return spread(r, "recorded/amd"); }},
    {"bytes per processor of a tree, Intel, 16384 processors", "",
     [](const Results& r) { return largest(r, "recorded/intel", "bytes_per_processor"); }},
    {"bytes per processor of a tree and AMD's table, 16384 processors", "",
     [](const Results& r) { return largest(r, "recorded/amd", "bytes_per_processor"); }},
    {"topology of a recorded machine, 512 processors, ns per processor", "",
     [](const Results& r) { return r.nanosecondsPer("recorded/topology/512", "processors"); }},
    {"the same, 512 to 16384 processors: slowest / fastest", "<= 1.50",
     [](const Results& r) { return spread(r, "recorded/topology"); }},
    {"bytes per processor of a topology, 16384 processors", "",
     [](const Results& r) { return largest(r, "recorded/topology", "bytes_per_processor"); }},
    {"a query for each core, 512 processors, ns per processor", "",
     [](const Results& r) { return r.nanosecondsPer("recorded/queries_of_cores/512", "processors"); }},
    {"the same, 512 to 16384 processors: slowest / fastest", "<= 1.50",
     [](const Results& r) { return spread(r, "recorded/queries_of_cores"); }},
    {"loading a recording of 4096 processors, MB/s", ">= 50",
     [](const Results& r) -> boost::optional<double> {
         const auto time = r.nanosecondsPer("recording/load_4096", "megabytes");
         return time ? boost::make_optional(1e9 / *time) : boost::none;
     }},
};

} // namespace
} // namespace quarrow_bench
