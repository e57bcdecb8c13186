// What the C interface costs over C++: taking a machine, and walking a large one.

#include <benchmarks/Ratios.h>
#include <benchmarks/SyntheticMachine.h>

#include <libQuarrow/c/quarrow.h>
#include <libQuarrow/recording/formats/RecordingWriter.h>
#include <libQuarrow/topology/Topology.h>

#include <chrono>
#include <memory>
#include <sstream>
#include <string>

using namespace libQuarrow;
using benchmark::State;

namespace quarrow_bench {
namespace {

constexpr std::size_t walkedProcessors = 16384;

struct FreeMachine {
    void operator()(quarrow_machine* machine) const { quarrow_machine_free(machine); }
};
using CMachine = std::unique_ptr<quarrow_machine, FreeMachine>;

// Both in one benchmark, in turn, so that a disturbance of the machine meets both.
void takeInTurn(State& state) {
    using Clock = std::chrono::steady_clock;
    std::chrono::duration<double> inC{0};
    std::chrono::duration<double> inCpp{0};
    for (auto _ : state) {
        const Clock::time_point first = Clock::now();
        {
            const CMachine machine(quarrow_machine_native(0));
            benchmark::DoNotOptimize(machine.get());
        }
        const Clock::time_point second = Clock::now();
        benchmark::DoNotOptimize(topology::Topology::read()->processors().size());
        inC += second - first;
        inCpp += Clock::now() - second;
    }
    state.counters["over_cpp"] = inC / inCpp;
}
BENCHMARK(takeInTurn)->Name("c/take")->UseRealTime();

void take(State& state) {
    for (auto _ : state) {
        const CMachine machine(quarrow_machine_native(0));
        benchmark::DoNotOptimize(machine.get());
    }
}
BENCHMARK(take)->Name("c/native")->UseRealTime();

// Every fact of every processor, its caches, and one feature.
void walk(State& state) {
    std::ostringstream text;
    os::writeRecording(syntheticMachine(Layout::intel, walkedProcessors), text);
    const std::string recording = text.str();
    for (auto _ : state) {
        state.PauseTiming();
        // A machine of its own for each walk: the texts of its processors are found by the first one.
        CMachine machine(quarrow_machine_parse(recording.data(), recording.size(), "synthetic", 0));
        state.ResumeTiming();
        const std::size_t count = quarrow_machine_count(machine.get(), QUARROW_PROCESSORS);
        std::size_t found = 0;
        for (std::size_t i = 0; i < count; ++i) {
            quarrow_processor processor;
            quarrow_machine_processor(machine.get(), i, &processor, sizeof processor);
            for (std::uint32_t k = 0; k < processor.cache_count; ++k) {
                std::uint32_t cache = 0;
                std::uint32_t instance = 0;
                quarrow_processor_cache(machine.get(), processor.number, k, &cache, &instance);
                benchmark::DoNotOptimize(cache);
            }
            found += quarrow_processor_can_use(machine.get(), processor.number, QUARROW_FEATURE_SSE2) == 1 ? 1 : 0;
        }
        state.PauseTiming();
        if (count != walkedProcessors || found != count) {
            state.SkipWithError("a processor is missing");
        }
        machine.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(walk)->Name("c/walk_16384")->UseRealTime()->Unit(benchmark::kMillisecond)->Repetitions(15);

const AddRatio ratios[] = {
    {"taking this machine in C / in C++", "<= 1.02",
     [](const Results& r) -> boost::optional<double> {
         const auto c = r.nanoseconds("c/native");
         const auto cpp = r.nanoseconds("live/topology");
         return c && cpp ? boost::make_optional(*c / *cpp) : boost::none;
     }},
    {"the same, the two in turn", "<= 1.02", [](const Results& r) { return r.counter("c/take", "over_cpp"); }},
    {"walking 16384 processors in C, ms", "<= 5",
     [](const Results& r) -> boost::optional<double> {
         const auto time = r.nanoseconds("c/walk_16384");
         return time ? boost::make_optional(*time / 1e6) : boost::none;
     }},
};

} // namespace
} // namespace quarrow_bench
